// The shared libraries export exactly their public interfaces, whose names are in a table.

#include <algorithm>
#include <set>
#include <sstream>
#include <string>

#include "support/run_program.h"
#include "support/table.h"

namespace {

// The name of one line of nm, "ADDRESS TYPE NAME(ARGUMENTS)".
std::string ToName(const std::string& line) {
  std::string name = line.substr(line.find(' ') + 3);
  const bool isCall = name.rfind("nvx::", 0) == 0 && name.find("()::") == std::string::npos;
  name.erase(isCall ? std::min(name.find('('), name.size()) : name.size());
  return name.substr(0, name.find("[abi:"));
}

void ExpectExports(const std::string& library, const std::string& table) {
  const ProgramResult listed =
      RunProgram({NM, "--dynamic", "--demangle", "--defined-only", library});
  ASSERT_EQ(listed.status, 0) << listed.error;
  std::set<std::string> exported;
  std::istringstream lines(listed.output);
  for (std::string line; std::getline(lines, line);) {
    exported.insert(ToName(line));
  }

  exported.erase("nvx::Log::RootLogger::GetInstance");  // only where it is not inlined
  exported.erase(
      "vtable for nv::kora::RedisClientInterface");  // only where a sanitizer asks for it

  std::set<std::string> expected;
  ForEachRow(table, [&expected](const Row& row) {
    std::istringstream names(row["names"]);
    for (std::string name; names >> name;) {
      expected.insert(row["scope"] + "::" + name);
    }
  });
  for (const std::string& name : exported) {
    EXPECT_EQ(expected.count(name), 1u) << "exported: " << name;
  }
  for (const std::string& name : expected) {
    EXPECT_EQ(exported.count(name), 1u) << "not exported: " << name;
  }
}

TEST(Exports, AreThePublicInterface) { ExpectExports(LIBRARY, "exports.txt"); }

TEST(Exports, AreThoseOfTheWorkstation) {
  if (WITH_REDIS == 0) {
    GTEST_SKIP() << "the table has the client of Redis servers";
  }
  ExpectExports(WORKSTATION, "workstation_exports.txt");
}

TEST(Exports, TheLibraryIsFoundByItsName) {
  const std::string header = RunProgram({READELF, "--dynamic", LIBRARY}).output;
  EXPECT_NE(header.find("Library soname: [libnvx-timeseries-database.so.0]"), std::string::npos);
}

}  // namespace
