#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "base/round_up.h"
#include "rrd/patient_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Counts the samples that were stored in a file of one data source, and those that the file does
// not return as they were given. Every operation throws CommandError.
class StoredSamples {
 public:
  // `fileDescription` is that of the file before the first sample. The client must outlive it.
  StoredSamples(const PatientClient& client, const std::string& filePath,
                const Rrd::FileDescription& fileDescription);

  // Call it before a batch is stored whose last sample is of `latest`: counts the samples that the
  // file will drop.
  void MakeRoomUntil(long long latest);

  // Whether the file had no sample at all.
  bool WasEmpty() const;

  // Call it after a batch was stored. Batches are in the order of their times.
  void Add(const std::map<long long, double>& batch);

  // The samples that are not missing themselves.
  unsigned long long GetCount() const { return count; }

  bool IsEmpty() const { return count + missingCount == 0; }

  // The time of the last sample; before the first batch, the file's last update.
  long long GetLastTime() const { return lastTime; }

  // "6 samples stored", and how many of them the file does not return as given, and why.
  std::string Describe() const;

 private:
  struct Span {
    long long time;          // of a sample
    long long previousTime;  // of the one before it, whether that is missing or not
  };

  long long RoundUp(long long time) const { return CommandLine::RoundUp(time, step); }
  bool IsOutOfBounds(double value) const;
  void Classify(long long time, double value);
  void ClassifyByDigits(double value);
  void ClassifyByRow(long long time);
  void LookAtRows();
  bool IsShown(const Span& sample, const Rrd::FetchResult& rows) const;
  void DropOld();
  std::string DescribeDropped() const;
  template <typename Consumer>
  void ReadRows(long long first, long long last, const Consumer& consume) const;
  long long GetFirstRow() const;

  const PatientClient& rrdClient;
  std::string path;
  Rrd::FileDescription description;
  long long step;
  long long lastTime;
  std::vector<Span> undecided;
  std::deque<long long> shownTimes;
  unsigned long long count = 0;
  unsigned long long missingCount = 0;
  unsigned long long gapCount = 0;
  unsigned long long outOfBoundsCount = 0;
  unsigned long long unknownCount = 0;
  unsigned long long averagedCount = 0;
  unsigned long long roundedCount = 0;
  unsigned long long infiniteCount = 0;
  unsigned long long oldCount = 0;
  unsigned long long droppedCount = 0;  // of the samples that the file had before
  long long firstDropped = 0;           // the time of the oldest one
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
