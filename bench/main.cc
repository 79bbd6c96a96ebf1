// Prints the table of docs/benchmarks.md: each piece of work and its rivals, in one run. With an
// argument, only the rows with that text in their work or rival.

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "row.h"

namespace {

// In a process of its own, so that no row inherits the memory of another.
void PrintRowApart(const Bench::Row& row) {
  const pid_t child = fork();
  if (child == 0) {
    Bench::PrintRow(row);
    _exit(EXIT_SUCCESS);
  }
  int status = 0;
  Bench::Require(waitpid(child, &status, 0) == child && status == 0, row.work.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const std::string wanted = argc > 1 ? argv[1] : "";
  bool isAnyWanted = false;
  for (const auto list : {Bench::ListQueryRows, Bench::ListSqlRows, Bench::ListStorageRows,
                          Bench::ListCatalogueRows, Bench::ListCommandRows}) {
    for (const Bench::Row& row : list()) {
      if ((row.work + row.rival).find(wanted) != std::string::npos) {
        std::fputs(isAnyWanted ? "" : Bench::HEADINGS, stdout);
        std::fflush(stdout);
        isAnyWanted = true;
        PrintRowApart(row);
      }
    }
  }
  if (!isAnyWanted) {
    std::fprintf(stderr, "timeseries-bench: no row has '%s'\n", wanted.c_str());
  }
  return isAnyWanted ? EXIT_SUCCESS : EXIT_FAILURE;
}
