#pragma once

#include <string>
#include <vector>

#include "points/source.h"

// Which archives of a file answer with samples: those of last values. This is decided here alone,
// once for a question. Every operation throws CommandError for a file that has none of them.
namespace nvx::TimeSeriesDatabase::CommandLine {

struct ChosenArchive {
  const Rrd::ArchiveDescription* archive;
  long long rowLength;  // seconds
  long long begin;      // it answers from this time on, until the next one begins
};

// The one archive for the points of all intervals from `start` on. Sums of rows of different
// lengths could not be compared.
ChosenArchive ChooseArchive(const Source& source, long long start);

// The archives of the samples from `first` to `last`: each time is that of the finest archive that
// reaches back to it.
std::vector<ChosenArchive> ChooseArchives(const Source& source, long long first, long long last);

// The time of the oldest row of any of them.
long long GetOldestRow(const Source& source);

// Whether all samples of the file lie in one archive.
bool HasSingleArchive(const Source& source);

// Tells on standard error which archives of a file of another shape answer. Of intervals, also
// whether rows are repeated because `intervalName`, of `intervalLength` seconds, is shorter.
void TellArchives(const Source& source, const std::vector<ChosenArchive>& chosen);
void TellRepeatedRows(const Source& source, const ChosenArchive& chosen,
                      const std::string& intervalName, long long intervalLength);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
