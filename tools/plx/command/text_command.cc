#include "command/text_command.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <functional>
#include <set>
#include <string_view>

#include "base/component.h"
#include "command/sink.h"
#include "datetime/datetime_text.h"
#include "datetime/number_text.h"
#include "inspect/named.h"
#include "json/json_text.h"
#include "messages/calendar_names.h"
#include "messages/letters.h"
#include "messages/message.h"
#include "messages/near_names.h"
#include "set/zone_named.h"
#include "stream/chunk_reader.h"
#include "stream/line_reader.h"
#include "stream/pipeline.h"
#include "stream/source.h"
#include "table/separator.h"

namespace plx {

namespace {

namespace fs = std::filesystem;

Failure usage(std::string_view option, std::string_view what, std::string_view text,
              std::string_view accepted) {
  return {Status::usage, describe(option, {std::string(what), accepted}, text)};
}

// A whole number from 1 to `most`; nothing for other texts.
std::optional<std::size_t> countOf(std::string_view text, std::size_t most) {
  std::size_t number = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  const bool isCount =
      result.ec == std::errc() && result.ptr == end && 1 <= number && number <= most;
  return isCount ? std::optional(number) : std::nullopt;
}

OnError onErrorOf(const std::optional<std::string>& text) {
  if (!text || *text == "stop") return OnError::stop;
  if (*text == "blank") return OnError::blank;
  if (*text == "pass") return OnError::pass;
  throw usage("--on-error", "unknown", *text, "stop, blank or pass");
}

// Whether some datetimes may have no year of their own.
bool takesYear(const TextOptions& options) {
  const NotationOptions& notation = options.notation;
  if (notation.inLine && notation.formats.empty()) return true;
  return std::ranges::any_of(notation.formats, lacksYear) ||
         std::ranges::any_of(options.columns, lacksYear);
}

// The separator of a table as the options and its name tell it; nothing where the header has to.
std::optional<char> separatorTold(const TextOptions& options, const std::string& input) {
  if (options.csv + options.tsv + options.delimiter.has_value() > 1)
    throw Failure{Status::usage, "a table has one of --csv, --tsv and --delimiter"};
  if (options.tsv) return '\t';
  if (options.csv) return ',';
  if (!options.delimiter) return separatorOf(input);
  const auto separator = separatorNamed(*options.delimiter);
  if (!separator) {
    throw usage("--delimiter", "no character between fields", *options.delimiter,
                "tab, space, or one character of ASCII that is no quote and no line end");
  }
  return separator;
}

// How long a record may be.
std::size_t longestOf(const TextOptions& options, std::size_t usual) {
  if (!options.longest) return usual;
  constexpr std::size_t kMost = std::size_t{1} << 40;
  constexpr std::string_view kUnits = "KMG";
  std::string_view number = *options.longest;
  const std::size_t unit = number.empty() ? std::string_view::npos : kUnits.find(number.back());
  const std::size_t shift = unit == std::string_view::npos ? 0 : 10 * (unit + 1);
  if (shift > 0) number.remove_suffix(1);
  const auto size = countOf(number, kMost >> shift);
  if (!size) {
    throw usage("--longest", "not a size that it takes", *options.longest,
                "1 to 1099511627776 bytes, which are 1024G; K, M and G behind a whole number stand "
                "for 1024, 1024K and 1024M bytes");
  }
  return *size << shift;
}

// Of all that goes wrong, only this says that there is none; the rest is told when it is opened.
bool exists(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) == 0) return true;
  return errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG;
}

// A datetime among the arguments, as a chunk of one line.
Chunk chunkOf(const std::string& argument) {
  Chunk chunk;
  chunk.source = "argument";
  chunk.line = 0;  // has no place
  chunk.records = 1;
  chunk.storage.assign(argument.begin(), argument.end());
  chunk.storage.push_back('\n');
  chunk.size = chunk.storage.size();
  return chunk;
}

// A datetime that is typed, not the name of a file. Whether it is one in its zone shows later.
bool isDatetime(const std::string& input, const ReadingOptions& options, Complaint& complaint) {
  if (input == "-" || input.empty()) return false;
  const Form form = options.notation.from;
  const bool isInForm = options.notation.formats.empty();
  if (isInForm && !isCount(form) && form != Form::pair) {
    DatetimeText datetime;
    return readDatetime(input, form, datetime, complaint);
  }
  Zones zones;
  std::optional<Zone> zone;
  if (options.zone) zone = zoneNamed(*options.zone);
  const auto reading =
      read(input, options.notation, zone ? &*zone : zones.plain(), zones, complaint);
  return reading && !reading->missing;
}

// Somebody seems to have meant one.
bool looksLikeDatetime(std::string_view input, const Notation& notation) {
  const Form form = notation.from;
  constexpr std::string_view kDigits = "0123456789";
  const auto begins = [&](const auto& format) { return format->mayHave(0, input.front()); };
  if (!notation.formats.empty()) {
    return input.find_first_of(kDigits) == 0 ||
           (input.find_first_of(kDigits) != std::string_view::npos &&
            std::ranges::any_of(notation.formats, begins));
  }
  if (!isCount(form) && form != Form::pair) return plx::looksLikeDatetime(input);
  return input.find_first_of(kDigits) == input.find_first_not_of("+-.");
}

// What was more likely meant by a word that names no file, where that shows.
std::optional<Complaint> otherThanAFile(const std::string& word) {
  if (word.empty() || word == "-" || exists(word)) return std::nullopt;
  const bool isComponent = std::any_of(std::begin(kComponentFacts), std::end(kComponentFacts),
                                       [&](const auto& facts) { return facts.name == word; });
  if (isComponent)
    return Complaint{"no datetime, and there is no such file",
                     "several settings as month=1 day=2, datetimes, files"};
  if (word.find_first_of("0123456789") != 0) return std::nullopt;
  return Complaint{"no datetime that is read, and there is no such file", kAcceptedDatetimes};
}

// What is told of lines that are no datetimes, where the first of them looks like a table's header.
std::string hintAtColumns(const Chunk* chunk) {
  constexpr const char* kHintAtPaths =
      "; of JSON lines, choose a value with --column, as in --column .created";
  if (looksLikeJson(chunk)) return kHintAtPaths;
  const auto columns = columnsInSight(chunk);
  if (columns.empty()) return {};
  return "; of a table, choose a column with --column, of " + columns;
}

constexpr const char* kNoColumn =
    "no column of datetimes is given; accepted: --column, with a name or a number";
constexpr const char* kNoPath =
    "no value of JSON is given; accepted: --column, with a path such as .created";

constexpr const char* kNoDatetimeInLines =
    ": no line has a datetime that is known; accepted: logs of web servers, journald and the like, "
    "those of syslog with --year, and any other with --format";

// None stands for standard input.
std::vector<std::string> inputsOf(const TextOptions& options) {
  return options.inputs.empty() ? std::vector<std::string>{"-"} : options.inputs;
}

// Of a file that is named twice, also by way of a link, one result would be lost.
void refuseOneFileTwice(const std::vector<std::string>& inputs) {
  std::set<fs::path> files;
  for (const std::string& input : inputs) {
    std::error_code unknown;  // told when the file is opened
    const fs::path file = fs::canonical(input, unknown);
    if (!unknown && !files.insert(file).second)
      throw usage("-i", "named twice", input, "each file once");
  }
}

// One run over all inputs.
class Run {
 public:
  Run(const TextOptions& options, TextWork work, Output& standard)
      : options_(options), work_(std::move(work)), standard_(standard) {
    edit_.values = work_.values;
    edit_.onError = onErrorOf(options.onError);
    edit_.onFinding = work_.onFinding;
    jobs_ = options.jobCount();
    if (work_.valueFile) {
      values_.emplace(*work_.valueFile);
      jobs_ = 1;  // the file is read in step
    }
  }

  void all() {
    if (options_.match && !options_.notation.inLine)
      throw Failure{Status::usage, "--match goes with --in-line"};
    if (options_.notation.inLine && options_.isTable())
      throw Failure{Status::usage, "--in-line is for lines, and --column for tables"};
    if (options_.isTable()) {
      table();
    } else {
      lines();
    }
    sink_->finish(edit_.onError, edit_.onFinding);
  }

 private:
  std::unique_ptr<ChunkEditor> makeEditor() {
    return std::make_unique<ChunkEditor>(edit_, work_.make(), values_ ? &*values_ : nullptr);
  }

  void through(Pipeline& pipeline, ChunkReader& reader) {
    if (reader.source().isWrittenBy(sink_->descriptor())) {
      throw Failure{Status::inputOutput,
                    reader.source().name() +
                        ": the results would be appended to the input, and read again; accepted: "
                        "-i, or -o with another file"};
    }
    present_.clear();
    right_ = wrong_ = 0;
    pipeline.run(reader, [&](const Chunk& chunk, const Piece& piece) {
      sink_->take(piece, chunk.size);
      right_ += piece.records - piece.wrongRecords;
      wrong_ += piece.wrongRecords;
      present_.resize(piece.present.size());
      std::ranges::transform(present_, piece.present, present_.begin(), std::plus());
    });
  }

  void table() {
    const bool isJson = options_.isJson();
    if (options_.columns.empty()) throw Failure{Status::usage, isJson ? kNoPath : kNoColumn};
    if (options_.inputs.size() > 1 && !options_.inPlace)
      throw Failure{
          Status::usage,
          fmt::format("only one {} can be read at a time; accepted: one INPUT, or several "
                      "with -i",
                      isJson ? "file of JSON lines" : "table")};
    if (isJson &&
        (!options_.newColumns.empty() || options_.noHeader || options_.csv || options_.tsv))
      throw Failure{Status::usage,
                    "--new-column, --no-header, --csv and --tsv are for tables, and "
                    "the input is JSON lines"};
    const std::vector<std::string> inputs = inputsOf(options_);
    const EditOptions common = edit_;
    for (const std::string& input : inputs) {
      edit_ = common;
      const auto separator = separatorTold(options_, input);
      edit_.longestLine = longestOf(options_, kLongestRecord);
      if (!isJson) edit_.table = {separator.value_or(','), !options_.noHeader, edit_.longestLine};
      // The file that is replaced is looked at before it is read, and a wrong table leaves -o alone.
      if (options_.inPlace) begin(inputs, input);
      Source source(input);
      ChunkReader reader(source, !isJson, edit_.longestLine + (isJson ? kAroundLine : 0));
      chooseAll(reader, separator.has_value());
      if (!sink_) sink_.emplace(options_, standard_, source.size());
      Pipeline pipeline(jobs_, [&] { return makeEditor(); });
      through(pipeline, reader);
      if (isJson) refuseAbsentValues(source.name());
    }
  }

  // A path that leads nowhere in any line is no path that was meant. What wrong lines have is not known, and where all
  // are wrong, that was told of each.
  void refuseAbsentValues(const std::string& name) const {
    if (right_ == 0) return;
    const char* const what =
        wrong_ == 0 ? "no line has this value" : "no line without an error has this value";
    for (std::size_t i = 0; i < present_.size(); ++i) {
      if (present_[i] == 0)
        throw Failure{Status::unknownName,
                      describe(name, {what, "a path that some line has"}, edit_.columns[i].name)};
    }
  }

  // The next file that is changed in place.
  void begin(const std::vector<std::string>& inputs, const std::string& input) {
    if (!sink_) sink_.emplace(options_, standard_, sizeOf(inputs));
    sink_->replace(input);
  }

  // The columns that are used, and for what; the separator too, where that is not told.
  void chooseAll(ChunkReader& reader, bool separatorIsTold) {
    std::vector<std::string> asked;
    const auto ask = [&](const std::string& name) {
      if (std::find(asked.begin(), asked.end(), name) == asked.end()) asked.push_back(name);
    };
    columnTexts_.clear();
    for (const std::string& text : options_.columns) {
      const ColumnText& column =
          columnTexts_.emplace_back(columnOf(text, headerLine(reader), options_.notation));
      if (std::find(asked.begin(), asked.end(), column.name) != asked.end())
        throw Failure{Status::usage,
                      describe("--column", {"given twice", "each column once"}, column.name)};
      ask(column.name);
    }
    for (const auto& name : work_.valueColumns) {
      if (name) ask(*name);
    }
    if (options_.zoneColumn) ask(*options_.zoneColumn);

    const std::string& name = reader.source().name();
    edit_.columns = !edit_.table ? choosePaths(asked)
                    : edit_.table->header
                        ? chooseByHeader(reader.peek(), *edit_.table, separatorIsTold, asked, name)
                        : chooseColumns(asked);
    for (const ColumnText& column : columnTexts_) edit_.datetimes.push_back(placeOf(column.name));
    std::sort(edit_.datetimes.begin(), edit_.datetimes.end());
    edit_.notations.resize(edit_.datetimes.size());
    for (const ColumnText& column : columnTexts_) {
      const auto at = static_cast<std::size_t>(
          std::ranges::find(edit_.datetimes, placeOf(column.name)) - edit_.datetimes.begin());
      edit_.resultOrder.push_back(at);
      if (column.notation) edit_.notations[at] = &*column.notation;
    }
    for (std::size_t i = 0; i < work_.valueColumns.size(); ++i) {
      if (work_.valueColumns[i]) edit_.values[i].column = placeOf(*work_.valueColumns[i]);
    }
    if (options_.zoneColumn) edit_.zone = placeOf(*options_.zoneColumn);
    nameNewColumns(reader);
  }

  // The first line of a table that has a header, as it stands.
  std::string_view headerLine(ChunkReader& reader) const {
    const Chunk* const chunk = edit_.table && edit_.table->header ? reader.peek() : nullptr;
    return chunk == nullptr ? std::string_view()
                            : chunk->bytes().substr(0, chunk->bytes().find('\n'));
  }

  // The paths of JSON lines, as columns.
  std::vector<Column> choosePaths(const std::vector<std::string>& asked) {
    std::vector<Column> columns;
    for (const std::string& name : asked) {
      Complaint complaint;
      const auto path = readJsonPath(name, complaint);
      if (!path) throw Failure{Status::usage, describe("--column", complaint, name)};
      if (std::ranges::find(edit_.json, *path) != edit_.json.end())
        throw usage("--column", "this value is asked for twice", name, "each value once");
      edit_.json.push_back(*path);
      columns.push_back({columns.size(), name});
    }
    const auto to = readingOptions(options_).notation.to;
    edit_.jsonStyle.numbers = to && isCount(*to);
    return columns;
  }

  std::size_t placeOf(const std::string& asked) const {
    const auto found = std::find_if(edit_.columns.begin(), edit_.columns.end(),
                                    [&](const Column& column) { return column.name == asked; });
    return static_cast<std::size_t>(found - edit_.columns.begin());
  }

  void nameNewColumns(ChunkReader& reader) {
    edit_.resultsOnly = work_.resultsOnly && options_.newColumns.empty();
    if (options_.newColumns.empty()) return;
    if (options_.newColumns.size() != edit_.datetimes.size()) {
      throw Failure{Status::usage,
                    "there is a --new-column for some columns only; accepted: one for "
                    "each --column, in the same order"};
    }
    edit_.newColumns = options_.newColumns;
    std::vector<std::string> names;
    if (edit_.table->header)
      names = readHeader(reader.peek(), *edit_.table, reader.source().name()).names;
    for (const std::string& name : options_.newColumns) {
      const std::string_view bare = withoutBlanks(name, *edit_.table);
      if (std::find(names.begin(), names.end(), bare) != names.end())
        throw usage("--new-column", "the table has such a column already", name, "another name");
      names.emplace_back(bare);
    }
  }

  void lines() {
    if (options_.zoneColumn || !options_.newColumns.empty() || options_.noHeader) {
      throw Failure{Status::usage,
                    "--zone-column, --new-column and --no-header are for tables; accepted: with "
                    "--column"};
    }
    edit_.datetimes = {0};
    edit_.longestLine = longestOf(options_, kLongestLine);
    if (options_.notation.inLine) findInLines();
    const std::vector<std::string> inputs = inputsOf(options_);
    refuseOneStreamForTwo(inputs);
    sink_.emplace(options_, standard_, sizeOf(inputs));
    Pipeline pipeline(jobs_, [&] { return makeEditor(); });
    const ReadingOptions reading = readingOptions(options_);
    for (const std::string& input : inputs) {
      if (options_.inPlace) begin(inputs, input);
      edit_.dropMark = sink_->begun();
      if (options_.inPlace || edit_.inLine || !isArgument(input, reading)) {
        file(pipeline, input);
      } else {
        argument(input);
      }
    }
    if (values_) values_->finish();
  }

  void findInLines() {
    const Notation notation = notationOf(options_.notation);
    const bool usesClock = work_.usesClock || notation.to || notation.toFormat;
    edit_.inLine = {notation.formats, notation.recognisedToo, options_.match, usesClock};
    if (options_.match) Pattern(*options_.match);  // a wrong one is told before anything is opened
    edit_.resultsOnly = work_.resultsOnly;
    edit_.resultOrder = {0};
  }

  // A datetime, and no file. Throws a Failure where a word is neither.
  static bool isArgument(const std::string& input, const ReadingOptions& reading) {
    Complaint complaint;
    if (isDatetime(input, reading, complaint)) return true;
    if (input != "-" && looksLikeDatetime(input, reading.notation) && !exists(input)) {
      if (!complaint.endsRun) complaint.what += ", and there is no such file";
      throw Failure{Status::badData, describe("argument", complaint, input)};
    }
    if (const auto meant = otherThanAFile(input))
      throw Failure{Status::inputOutput, describe("argument", *meant, input)};
    return false;
  }

  void file(Pipeline& pipeline, const std::string& input) {
    Source source(input);
    ChunkReader reader(source, false, edit_.longestLine + kAroundLine);
    const std::string hint = hintAtColumns(reader.peek());
    try {
      through(pipeline, reader);
      if (edit_.inLine && !present_.empty() && present_[0] == 0)
        throw Failure{Status::badData, source.name() + kNoDatetimeInLines};
    } catch (Failure& failure) {
      if (failure.status == Status::badData && !sink_->begun()) failure.message += hint;
      throw;
    }
  }

  void argument(const std::string& text) {
    if (!argumentEditor_) argumentEditor_ = makeEditor();
    const Chunk chunk = chunkOf(text);
    Piece piece;
    auto failure = argumentEditor_->run(chunk, piece);
    sink_->take(piece, 0);
    if (failure) throw std::move(*failure);
  }

  void refuseOneStreamForTwo(const std::vector<std::string>& inputs) const {
    const auto readers = std::count(inputs.begin(), inputs.end(), "-");
    if (work_.valueFile != "-" || readers == 0) return;
    throw Failure{Status::usage,
                  "the values and the datetimes cannot both come from standard input; "
                  "accepted: @FILE, or INPUT"};
  }

  // Bytes of all inputs, where that is known.
  static std::optional<std::uint64_t> sizeOf(const std::vector<std::string>& inputs) {
    std::uint64_t size = 0;
    for (const std::string& input : inputs) {
      struct stat info;
      if (::stat(input.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
      size += static_cast<std::uint64_t>(info.st_size);
    }
    return size;
  }

  const TextOptions& options_;
  TextWork work_;
  Output& standard_;
  EditOptions edit_;
  std::vector<ColumnText> columnTexts_;  // of the table that is read
  std::size_t jobs_ = 1;
  std::optional<ValueFile> values_;
  std::optional<Sink> sink_;
  std::unique_ptr<ChunkEditor> argumentEditor_;
  std::vector<std::size_t> present_;   // of JSON, how many lines of the input have each value
  std::size_t right_ = 0, wrong_ = 0;  // of its records, how many can be read, and how many cannot
};

}  // namespace

std::optional<InPlace> TextOptions::changesInPlace() const {
  if (!inPlace) {
    if (backup) throw Failure{Status::usage, "--backup goes with files that -i changes"};
    return std::nullopt;
  }
  if (output)
    throw Failure{Status::usage, "results go either to -o FILE or, with -i, to the inputs"};
  if (inputs.empty() || std::find(inputs.begin(), inputs.end(), "-") != inputs.end())
    throw Failure{
        Status::usage,
        "-i changes files, and standard input is none; accepted: the names of one or more"};
  if (backup && (backup->empty() || backup->find('/') != std::string::npos))
    throw usage("--backup", "not the end of a file's name", *backup, "a suffix such as .bak");
  refuseOneFileTwice(inputs);
  return InPlace{backup};
}

std::size_t TextOptions::jobCount() const {
  constexpr std::size_t kMost = 64;
  if (!jobs) return 1;
  const auto count = countOf(*jobs, kMost);
  if (!count) throw usage("--jobs", "not a number that it takes", *jobs, "1 to 64 threads");
  return *count;
}

bool TextOptions::isTable() const {
  return !columns.empty() || csv || tsv || delimiter || isJson();
}

// By the option, by the names of the inputs, or by paths where nothing says that there are tables.
bool TextOptions::isJson() const {
  const auto isNamed = [](const std::string& input) {
    return endsInAnyCase(input, ".jsonl") || endsInAnyCase(input, ".ndjson");
  };
  if (jsonl) return true;
  if (csv || tsv || delimiter) return false;
  if (std::ranges::any_of(inputs, isNamed)) return true;
  return !columns.empty() &&
         std::ranges::all_of(columns, [](const auto& name) { return name.starts_with('.'); }) &&
         std::ranges::none_of(inputs, [](const auto& input) {
           return endsInAnyCase(input, ".csv") || separatorOf(input).has_value();
         });
}

void declareTextOptions(Arguments& arguments, TextOptions& options, bool writesDatetimes) {
  arguments.option("-z,--zone", options.zone, "ZONE",
                   "The time zone to work in: UTC, UTCLeapSeconds, local, an\n"
                   "identifier such as Europe/Paris, or an offset such as +05:30.\n"
                   "Without it, datetimes with an offset keep theirs, and others\n"
                   "are plain calendar time");
  arguments.options("-c,--column", options.columns, "COLUMN",
                    "Of a table, a column of datetimes by its name or number;\n"
                    "may be given several times");
  arguments.option("--zone-column", options.zoneColumn, "COLUMN",
                   "Of a table, the column that names each row's time zone");
  arguments.options("--new-column", options.newColumns, "NAME",
                    "Add the results as a column, one for each -c in turn");
  arguments.option("--delimiter", options.delimiter, "CHARACTER",
                   "What stands between the fields of the table: one character,\n"
                   "tab or space. Without it, the one of , ; tab and | with which\n"
                   "the header has the columns; tab where the name ends in .tsv");
  arguments.flag("--csv", options.csv, "The same as --delimiter ,");
  arguments.flag("--tsv", options.tsv, "The same as --delimiter tab");
  arguments.flag("--jsonl", options.jsonl,
                 "Each line is a value of JSON, and COLUMN a path to a value in it,\n"
                 "as .created or .order.due (default, if its name ends in .jsonl\n"
                 "or .ndjson, or COLUMN is such a path)");
  arguments.flag("--in-line", options.notation.inLine,
                 "The datetime stands anywhere in each line, as in a log; all else\n"
                 "stays, and so do lines without one");
  arguments.option("--match", options.match, "REGEX",
                   "With --in-line, the part of a line that has the datetime: what\n"
                   "REGEX matches, or its first group");
  arguments.flag("--no-header", options.noHeader, "Its first row is no header");
  arguments.option("-o,--output", options.output, "FILE",
                   "Write there once all is done; it may be the input");
  arguments.flag("-i,--in-place", options.inPlace,
                 "Change the INPUT files themselves, once all is done; of tables\n"
                 "too there may then be several");
  arguments.option("--backup", options.backup, "SUFFIX",
                   "With -i, keep each old file under its name with SUFFIX");
  declareNotationOptions(arguments, options.notation, writesDatetimes);
  arguments.option("--week-start", options.weekStart, "DAY",
                   "The day that week-of-year and day-of-week count from: sun\n"
                   "(default) to sat");
  arguments.option("--on-error", options.onError, "stop|blank|pass",
                   "What to do about a datetime that is wrong: stop, blank or\n"
                   "pass it as it is (default: stop)");
  arguments.option("--longest", options.longest, "SIZE",
                   "How many bytes a record may have (default: 4M), or a line (1M)");
  arguments.option("--jobs", options.jobs, "N", "Work with N threads");
  arguments.flag("--progress", options.progress,
                 "Show progress even if standard error is no terminal");
  arguments.flag("--quiet", options.quiet,
                 "Show no progress, and say nothing of other time-zone rules");
}

void declareClockOptions(Arguments& arguments, std::optional<std::string>& fold,
                         std::optional<std::string>& gap) {
  arguments.option("--fold", fold, "later|earlier|same|error",
                   "Of results that the clock shows twice: the later (default),\n"
                   "the earlier, the one with the offset that the datetime had,\n"
                   "or an error");
  arguments.option("--gap", gap, "shift|error|start|end",
                   "Of times that the clock skips: as much later as the gap is\n"
                   "long (default), an error, the last second before, or the first\n"
                   "after");
}

ClockChoice clockChoice(const std::optional<std::string>& fold,
                        const std::optional<std::string>& gap) {
  ClockChoice choice;
  if (fold) {
    const auto named = foldNamed(*fold);
    if (!named) throw usage("--fold", "unknown", *fold, kAcceptedFolds);
    choice.fold = *named;
  }
  if (gap) {
    const auto named = gapNamed(*gap);
    if (!named) throw usage("--gap", "unknown", *gap, kAcceptedGaps);
    choice.gap = *named;
  }
  return choice;
}

Weeks weeksFrom(const std::optional<std::string>& start) {
  if (!start) return {};
  const auto day = named(Component::dayOfWeek, *start);
  if (!day || day->isLast)
    throw usage("--week-start", "not a day of the week" + didYouMean(*start, kWeekdayNames), *start,
                "sun to sat");
  return {static_cast<int>(day->number) - 1};
}

ReadingOptions readingOptions(const TextOptions& options) {
  ReadingOptions reading;
  reading.clock = clockChoice(options.fold, options.gap);
  reading.weeks = weeksFrom(options.weekStart);
  reading.notation = notationOf(options.notation);
  if (options.notation.year && !takesYear(options)) {
    throw usage("--year", "nothing takes it", *options.notation.year,
                "a --format without a year, as '%b %e %T', or --in-line");
  }
  if (options.zone && !options.zone->empty()) reading.zone = options.zone;
  reading.zoneOfTask = options.zoneColumn.has_value();
  return reading;
}

void runText(const TextOptions& options, TextWork work, Output& output) {
  Run(options, std::move(work), output).all();
}

}  // namespace plx
