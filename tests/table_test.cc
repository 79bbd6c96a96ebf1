// A mistake in a table of cases is a failure at its line.

#include "support/table.h"

#include <gtest/gtest-spi.h>

#include "support/temporary_directory.h"

namespace {

TEST(Table, AMistakeInARowFailsAtItsPlace) {
  const TemporaryDirectory directory;
  const std::string path = directory.GetPath("table.txt");
  std::ofstream(path) << "# a comment\na | b\n1 |\n2\n3 | 4 | 5\nx | 6\n";
  testing::TestPartResultArray failures;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(&failures);
    ForEachRow(path,
               [](const Row& row) { EXPECT_EQ(row.GetNumber("a"), row["b"].empty() ? 1 : 6); });
    ForEachRow(path, [](const Row& row) { EXPECT_NE(row["none"], ""); });
  }
  std::string all;
  for (int i = 0; i < failures.size(); ++i) {
    all += std::to_string(failures.GetTestPartResult(i).line_number()) + ' ';
    all += failures.GetTestPartResult(i).message() + std::string("\n");
  }
  for (const char* const part :
       {"4 Failed\n1 fields instead of 2: 2\n", "5 Failed\n3 fields instead of 2: 3 | 4 | 5\n",
        "no number in 'a'", "table.txt:6: x | 6", "no column 'none'"}) {
    EXPECT_NE(all.find(part), std::string::npos) << part << " is not in:\n" << all;
  }
}

}  // namespace
