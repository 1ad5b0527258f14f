#include "module_file.h"

#include <link.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string_view>
#include <system_error>
#include <vector>

namespace host {
namespace {

constexpr std::string_view kEntryPoint = "plxFunction";
constexpr std::string_view kInterfacePrefix = "paHostInterface_";
// What the compiler builds for, as shared libraries name it.
#if defined(__x86_64__)
constexpr unsigned kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr unsigned kMachine = EM_AARCH64;
#elif defined(__i386__)
constexpr unsigned kMachine = EM_386;
#else
#error "name this machine's ELF code here"
#endif
constexpr char kDamaged[] = "the file is damaged or cut short";

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// A file whose parts are read only where they lie inside it.
class Image {
 public:
  Image(std::FILE* file, std::uint64_t size) : file_(file), size_(size) {}

  bool contains(std::uint64_t offset, std::uint64_t length) const {
    return offset <= size_ && length <= size_ - offset;
  }
  // False where the part does not lie inside the file.
  template <class T>
  bool read(std::uint64_t offset, std::uint64_t count, std::vector<T>& to) const {
    if (count > size_ / sizeof(T) || !contains(offset, count * sizeof(T))) return false;
    to.resize(count);
    return fseeko(file_, static_cast<off_t>(offset), SEEK_SET) == 0 &&
           std::fread(to.data(), sizeof(T), count, file_) == count;
  }

 private:
  std::FILE* file_;
  std::uint64_t size_;
};

bool isNativeLibrary(const ElfW(Ehdr) & header) {
  constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == kClass &&
         header.e_type == ET_DYN && header.e_machine == kMachine;
}

// The dynamic linker maps what the program headers say and touches it; past the end of the file
// that ends the process.
bool segmentsAreInside(const Image& image, const ElfW(Ehdr) & header) {
  std::vector<ElfW(Phdr)> segments;
  if (header.e_phentsize != sizeof(ElfW(Phdr)) ||
      !image.read(header.e_phoff, header.e_phnum, segments))
    return false;
  for (const auto& segment : segments)
    if (segment.p_type == PT_LOAD && !image.contains(segment.p_offset, segment.p_filesz))
      return false;
  return true;
}

bool readDynamicSymbols(const Image& image, const ElfW(Ehdr) & header,
                        std::vector<ElfW(Sym)>& symbols, std::vector<char>& names) {
  std::vector<ElfW(Shdr)> sections;
  if (header.e_shentsize != sizeof(ElfW(Shdr)) ||
      !image.read(header.e_shoff, header.e_shnum, sections))
    return false;
  for (const auto& section : sections) {
    if (section.sh_type != SHT_DYNSYM || section.sh_link >= sections.size()) continue;
    const auto& strings = sections[section.sh_link];
    return image.read(section.sh_offset, section.sh_size / sizeof(ElfW(Sym)), symbols) &&
           image.read(strings.sh_offset, strings.sh_size, names) && !names.empty() &&
           names.back() == '\0';
  }
  return false;
}

bool isExportedFunction(const ElfW(Sym) & symbol) {
  const unsigned type = symbol.st_info & 0xfu;
  const unsigned binding = symbol.st_info >> 4;
  const unsigned visibility = symbol.st_other & 0x3u;
  return symbol.st_shndx != SHN_UNDEF && (type == STT_FUNC || type == STT_GNU_IFUNC) &&
         (binding == STB_GLOBAL || binding == STB_WEAK) &&
         (visibility == STV_DEFAULT || visibility == STV_PROTECTED);
}

ModuleFile readModule(const Image& image) {
  std::vector<ElfW(Ehdr)> headers;
  if (!image.read(0, 1, headers) || !isNativeLibrary(headers[0]))
    return {"it is no shared library of this machine", {}};
  std::vector<ElfW(Sym)> symbols;
  std::vector<char> names;
  if (!segmentsAreInside(image, headers[0]) ||
      !readDynamicSymbols(image, headers[0], symbols, names))
    return {kDamaged, {}};
  ModuleFile module{"it does not export plxFunction", {}};
  for (const auto& symbol : symbols) {
    if (symbol.st_name >= names.size()) return {kDamaged, {}};
    const std::string_view name(&names[symbol.st_name]);
    if (name == kEntryPoint && isExportedFunction(symbol)) module.problem.clear();
    if (name.starts_with(kInterfacePrefix) && symbol.st_shndx == SHN_UNDEF)
      module.interfaceVersions.emplace_back(name.substr(kInterfacePrefix.size()));
  }
  return module;
}

}  // namespace

ModuleFile readModuleFile(const std::string& path, std::string& unreadable) {
  unreadable.clear();
  std::error_code ignored;  // opening the file tells what is wrong
  const std::filesystem::file_status status = std::filesystem::status(path, ignored);
  // Asked before opening: opening a pipe would wait for its other end.
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    unreadable = "it is not a regular file";
    return {};
  }
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rbe"));
  const off_t size = file && fseeko(file.get(), 0, SEEK_END) == 0 ? ftello(file.get()) : -1;
  if (size < 0) {
    if (errno == ENOMEM) throw std::bad_alloc();  // nothing is wrong with the file
    unreadable = std::generic_category().message(errno);
    return {};
  }
  return readModule(Image(file.get(), static_cast<std::uint64_t>(size)));
}

}  // namespace host
