#include "command/sink.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "messages/message.h"
#include "support/cases.h"
#include "tools/support/temporary_folder.h"

namespace plx {
namespace {

// Each file is put in its place in turn, so where one cannot be, those before it are told.
TEST(Sink, TellsWhatIsChangedWhereAFileCannotBe) {
  Cases cases(3);
  const char* const told[] = {"", "; the file before it is changed",
                              "; the files before it are changed"};
  for (std::size_t before = 0; before < std::size(told); ++before) {
    const TemporaryFolder folder;
    TextOptions options;
    options.inPlace = options.quiet = true;
    options.backup = ".bak";
    for (std::size_t i = 0; i <= before; ++i)
      options.inputs.push_back(folder.write(std::to_string(i), "old"));
    Output standard(STDOUT_FILENO);
    Sink sink(options, standard, std::nullopt);
    for (const std::string& input : options.inputs) {
      sink.replace(input);
      sink.put("new", 3);
    }
    const std::string last = std::to_string(before);
    folder.write(last + ".bak", "another's");  // which was not there when the work began
    try {
      sink.finish(OnError::stop, OnFinding::report);
      ADD_FAILURE() << "no failure";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, Status::inputOutput);
      EXPECT_EQ(failure.message, folder.path(last) + ": cannot keep a backup as " +
                                     folder.path(last) +
                                     ".bak: File exists; accepted: a --backup SUFFIX that no file "
                                     "has yet" +
                                     told[before]);
    }
    for (std::size_t i = 0; i < before; ++i) EXPECT_EQ(folder.read(std::to_string(i)), "new");
    EXPECT_EQ(folder.read(last), "old");
    ++cases;
  }
}

}  // namespace
}  // namespace plx
