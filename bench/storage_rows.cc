// Work that writes files: storing samples, and converting a file.

#include <fcntl.h>
#include <rrd.h>
#include <unistd.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <memory>

#include "row.h"
#include "samples.h"

namespace Bench {
namespace {

using namespace nvx::TimeSeriesDatabase;

using Batch = std::map<long long, double>;

std::vector<Batch> MakeBatches() {
  constexpr long long BATCH_LENGTH = 10000 * STEP;
  std::vector<Batch> batches;
  for (long long start = START; start < END; start += BATCH_LENGTH) {
    batches.push_back(MakeSamples(start, std::min(start + BATCH_LENGTH, END) - STEP));
  }
  return batches;
}

// The same texts, made with the least work.
void UpdateByLibrary(const std::string& path, const Batch& batch) {
  constexpr std::size_t LONGEST_TEXT = 32;
  const std::unique_ptr<char[]> texts(new char[batch.size() * LONGEST_TEXT]);
  std::vector<const char*> arguments;
  arguments.reserve(batch.size());
  char* text = texts.get();
  for (const auto& [time, value] : batch) {
    arguments.push_back(text);
    text = std::to_chars(text, text + LONGEST_TEXT, time).ptr;
    *text++ = ':';
    text = std::to_chars(text, text + LONGEST_TEXT, value, std::chars_format::fixed, 6).ptr;
    *text++ = '\0';
  }
  Require(rrd_update_r(path.c_str(), nullptr, static_cast<int>(arguments.size()),
                       arguments.data()) == 0,
          "rrd_update_r");
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<double> ReadYear(const std::string& path) {
  Rrd::FetchResult result;
  Require(RrdClient().Fetch(path, START, END - STEP, result) == StatusCode::Success, "fetch");
  return {result.GetData(), result.GetData() + result.GetSampleCount()};
}

using Updater = std::function<void(const std::string& path, const Batch& batch)>;

void UpdatePlainly(const std::string& path, const Batch& batch) {
  Require(RrdClient().Update(path, batch) == StatusCode::Success, "update");
}

void UpdateAtomically(const std::string& path, const Batch& batch) {
  Require(
      RrdClient().UpdateAtomically(path, batch, Rrd::Durability::Process) == StatusCode::Success,
      "atomic update");
}

// Two ways to store the same batches in an empty file of a year.
Contest CompareUpdates(const std::vector<Batch>& batches, const Updater& ours,
                       const Updater& theirs) {
  const auto directory = std::make_shared<Directory>();
  const auto shared = std::make_shared<const std::vector<Batch>>(batches);
  const auto side = [=](const std::string& name, const Updater& update) {
    const auto create = [=] {
      Require(RrdClient().Create(directory->GetPath(name), STEP, START - STEP, std::nan(""),
                                 std::nan(""), 525600) == StatusCode::Success,
              "creation");
    };
    const auto work = [=] {
      for (const Batch& batch : *shared) {
        update(directory->GetPath(name), batch);
      }
    };
    create();
    work();
    return Side{work, create};
  };
  Contest contest{side("ours.rrd", ours), side("theirs.rrd", theirs)};
  const std::vector<double> stored = ReadYear(directory->GetPath("ours.rrd"));
  const std::vector<double> expected = ReadYear(directory->GetPath("theirs.rrd"));
  Require(std::memcmp(stored.data(), expected.data(), stored.size() * sizeof(double)) == 0,
          "updated file");
  return contest;
}

Contest EnterUpdate() { return CompareUpdates(MakeBatches(), UpdatePlainly, UpdateByLibrary); }

Contest EnterAtomicUpdate() {
  return CompareUpdates(MakeBatches(), UpdateAtomically, UpdatePlainly);
}

constexpr int SINGLE_COUNT = 1000;

Contest EnterSingleSamples() {
  std::vector<Batch> samples;
  samples.reserve(SINGLE_COUNT);
  for (int i = 0; i < SINGLE_COUNT; ++i) {
    samples.push_back(MakeSamples(START + i * STEP, START + i * STEP));
  }
  return CompareUpdates(samples, UpdateAtomically, UpdatePlainly);
}

constexpr std::size_t VALUES_SIZE = 64 << 20;

// A file of the old layout with 64 MiB of values: the header of a small one, of one archive whose
// number of rows, at byte 260, is set.
void MakeOldFile(const std::string& path) {
  constexpr std::size_t HEADER_SIZE = 556;
  constexpr std::size_t ROW_COUNT_OFFSET = 260;
  constexpr std::uint32_t ROW_COUNT = VALUES_SIZE / sizeof(double);
  std::string header = ReadFile(NVX_TEST_DATA "/legacy/gauge.legacy.rrd").substr(0, HEADER_SIZE);
  std::memcpy(&header[ROW_COUNT_OFFSET], &ROW_COUNT, sizeof ROW_COUNT);
  std::vector<double> values(ROW_COUNT);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = std::sin(static_cast<double>(i));
  }
  std::ofstream(path, std::ios::binary)
      << header << std::string_view(reinterpret_cast<const char*>(values.data()), VALUES_SIZE);
}

bool HaveSameValues(const std::string& lhs, const std::string& rhs) {
  const std::string left = ReadFile(lhs);
  const std::string right = ReadFile(rhs);
  return left.size() > VALUES_SIZE && right.size() > VALUES_SIZE &&
         left.compare(left.size() - VALUES_SIZE, VALUES_SIZE, right, right.size() - VALUES_SIZE,
                      VALUES_SIZE) == 0;
}

struct Conversion {
  Conversion() { MakeOldFile(source); }

  Directory directory;
  const std::string source = directory.GetPath("source.rrd");
  const std::string converted = directory.GetPath("converted.rrd");
  const std::string theirs = directory.GetPath("theirs.rrd");
};

void RunShell(const std::string& commands) { RunCommand({"sh", "-c", commands}); }

// Work that makes a file. Before each run the file is removed and the disk is idle.
Side MakeSide(const std::string& file, const std::function<void()>& work) {
  return {work, [=] {
            std::filesystem::remove(file);
            sync();
          }};
}

// The copying of cp, without the start of a command, and a sync.
void CopyAndSync(const std::string& from, const std::string& to) {
  const int source = open(from.c_str(), O_RDONLY | O_CLOEXEC);
  const int destination = open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  ssize_t count = 1;
  while (count > 0) {
    count = copy_file_range(source, nullptr, destination, nullptr, VALUES_SIZE, 0);
  }
  Require(count == 0 && fsync(destination) == 0, "copy");
  close(destination);
  close(source);
}

Contest EnterCopy() {
  const auto files = std::make_shared<Conversion>();
  const Side ours = MakeSide(files->converted, [=] {
    Require(Rrd::Tool::Sanitizer().Convert(files->source, files->converted) == StatusCode::Success,
            "conversion");
  });
  const Side theirs = MakeSide(files->theirs, [=] { CopyAndSync(files->source, files->theirs); });
  ours.work();
  theirs.work();
  Require(HaveSameValues(files->converted, files->theirs), "converted values");
  return {ours, theirs};
}

std::vector<double> ReadAll(const std::string& path) {
  constexpr long long LENGTH = VALUES_SIZE / sizeof(double);
  const RrdClient rrd;
  long long last = 0;
  unsigned long step = 0;
  Rrd::FetchResult result;
  Require(rrd.GetLastTimestamp(path, last) == StatusCode::Success &&
              rrd.GetInterval(path, step) == StatusCode::Success &&
              rrd.Fetch(path, last - (LENGTH - 1) * static_cast<long long>(step), last, result) ==
                  StatusCode::Success,
          "fetch");
  return {result.GetData(), result.GetData() + result.GetSampleCount()};
}

// The other way from one machine to another. It starts from our result, in the layout of this
// machine, the only one that the tool reads here. It keeps eleven digits.
Contest EnterDump() {
  const auto files = std::make_shared<Conversion>();
  const Side ours = MakeSide(files->converted, [=] {
    RunCommand({NVX_COMMAND, "convert", "--to", "64bit", files->source, files->converted});
  });
  const std::string input = files->directory.GetPath("input.rrd");
  const Side theirs = MakeSide(files->theirs, [=] {
    RunShell("rrdtool dump " + input + " | rrdtool restore - " + files->theirs + " && sync " +
             files->theirs);
  });
  ours.work();
  std::filesystem::rename(files->converted, input);
  theirs.work();
  const std::vector<double> expected = ReadAll(input);
  const std::vector<double> restored = ReadAll(files->theirs);
  Require(std::equal(expected.begin(), expected.end(), restored.begin(), restored.end(),
                     [](double lhs, double rhs) { return std::abs(lhs - rhs) < 1e-9; }),
          "restored values");
  return {ours, theirs};
}

}  // namespace

std::vector<Row> ListStorageRows() {
  return {
      {"`Update`, 525,600 samples in batches of 10,000",
       "`rrd_update_r`, and `std::to_chars` of the same texts", AtMost(1.05), EnterUpdate},
      {"`UpdateAtomically` (`Process`), 525,600 samples in batches of 10,000", "`Update`",
       AtMost(1.10), EnterAtomicUpdate},
      {"`UpdateAtomically` (`Process`), 1,000 single samples", "`Update`",
       NanosecondsAPoint(30000, SINGLE_COUNT), EnterSingleSamples},
      {"`Convert` of 64 MiB", "the copying of `cp`, and `fsync`", AtMost(1.00), EnterCopy},
      {"`nvx-timeseries convert --to 64bit` of 64 MiB", "`rrdtool dump` into `restore`, and `sync`",
       TimesFaster(50), EnterDump},
  };
}

}  // namespace Bench
