// Memory runs out at each allocation of a command: it ends with 1 and one line, and leaves the file
// as it was or as it was to be, and no other one.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <CLI/Version.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <set>

#include "support/child.h"
#include "support/command.h"
#include "support/files.h"
#include "support/leaks_of_librrd.h"
#include "support/limited_memory.h"
#include "support/one_file.h"

using namespace nvx::TimeSeriesDatabase;

namespace {

constexpr long long START = 1700000040;  // a multiple of 60

// What is left of a command.
struct Outcome {
  int status = 0;  // 128 and more after a signal
  bool isDone = false;
  std::string output;
  std::string messages;
  std::set<std::string> files;
  std::string content;
};

class CommandAllocations : public OneFile {
 protected:
  void SetUp() override {
    ASSERT_EQ(client.Create(path, 60, START - 60, NAN, NAN, 100), StatusCode::Success);
    ASSERT_EQ(client.Update(path, std::map<long long, double>{{START, 1}, {START + 60, 2}}),
              StatusCode::Success);
    sound = ReadFile(path);
  }

  // In a child, in which the command may have that many allocations.
  Outcome Run(std::vector<const char*> command, long granted) const {
    MakeFile();
    command.insert(command.begin(), {"nvx-timeseries", "-d", database.c_str()});
    command.push_back(nullptr);
    Outcome outcome;
    outcome.status = RunInChild([&] {
      dup2(open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO);
      dup2(open(messages.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
      alarm(60);
      LimitedMemory::granted = granted;
      const int status =
          RunCommand(static_cast<int>(command.size() - 1), const_cast<char**>(command.data()));
      const bool isDone = LimitedMemory::granted >= 0;
      LimitedMemory::granted = LimitedMemory::ALL;
      std::cout.flush();
      return status + (isDone ? DONE : 0);
    });
    // Who opens the file next undoes what could not be undone without memory.
    long long last = 0;
    EXPECT_EQ(client.GetLastTimestamp(file, last), StatusCode::Success);
    outcome.isDone = outcome.status >= DONE && outcome.status < 128;
    outcome.status -= outcome.isDone ? DONE : 0;
    outcome.output = ReadFile(output);
    outcome.messages = ReadFile(messages);
    for (const auto& entry : std::filesystem::directory_iterator(database)) {
      outcome.files.insert(entry.path().filename());
    }
    outcome.content = ReadFile(file);
    return outcome;
  }

  void FailEach(const std::vector<const char*>& command, long first) const {
    SCOPED_TRACE(command[0]);
    const Outcome before = Run({"list"}, LimitedMemory::ALL);
    const Outcome whole = Run(command, LimitedMemory::ALL);
    ASSERT_EQ(whole.status, 0) << whole.messages;
    Outcome now;
    for (long granted = first; !now.isDone; granted += IS_SLOW != 0 ? 7 : 1) {
      now = Run(command, granted);
      SCOPED_TRACE("after " + std::to_string(granted) + ": " + now.messages);
      ASSERT_TRUE(now.files == before.files || now.files == whole.files)
          << testing::PrintToString(now.files);
      ASSERT_TRUE(now.content == before.content || now.content == whole.content);
      if (now.status == 0) {
        ASSERT_EQ(now.output, whole.output);
      } else {
        ASSERT_EQ(now.status, 1);
        ASSERT_EQ(now.messages.rfind("nvx-timeseries: ", 0), 0U);
        ASSERT_EQ(now.messages.find('\n'), now.messages.size() - 1);
      }
    }
  }

  // The allocations of a command that finds nothing to do.
  long CountForEmptyDirectory() const {
    const std::string empty = directory.GetPath("empty");
    std::filesystem::create_directory(empty);
    const char* const command[] = {"nvx-timeseries", "list", "-d", empty.c_str()};
    const long before = LimitedMemory::granted;
    EXPECT_EQ(RunCommand(std::size(command), const_cast<char**>(command)), 0);
    return before - LimitedMemory::granted;
  }

  // The same to the byte each time.
  void MakeFile() const {
    std::filesystem::remove_all(database);
    std::filesystem::create_directory(database);
    WriteFile(file, sound);
  }

  static constexpr int DONE = 64;  // added to the status of a command that had enough
  const std::string database = directory.GetPath("database");
  const std::string file = database + "/topo_x.rrd";
  const std::string output = directory.GetPath("output");
  const std::string messages = directory.GetPath("messages");
  std::string sound;
};

// All commands begin alike, with the options of every command.
TEST_F(CommandAllocations, OfEachCommand) {
  const long first = CountForEmptyDirectory() * 9 / 10;
  // CLI11 2.6 allocates memory in functions that must not throw, while it is told the options.
  const bool isEarlier = CLI11_VERSION_MAJOR == 2 && CLI11_VERSION_MINOR < 6;
  FailEach({"query", "topo:x", "--interval", "1m"}, isEarlier ? 0 : first);
  FailEach({"export", "--tree", database.c_str(), "--format", "csv"}, first);
  const std::string made = database + "/made.txt";
  FailEach({"export", "topo:x", "--format", "openmetrics", "--output", made.c_str()}, first);
  FailEach({"update", "topo:x", "1700000160:3"}, first);
  FailEach({"update", "--sync", "topo:x", "1700000160:3"}, first);
}

}  // namespace
