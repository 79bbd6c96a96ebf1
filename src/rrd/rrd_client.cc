#include "timeseries/rrd_client.h"

#include <rrd.h>

#include <atomic>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "foundation/log.h"
#include "rrd/archive_rows.h"
#include "rrd/file_gate.h"
#include "rrd/file_information.h"
#include "rrd/locked_file.h"
#include "rrd/number_text.h"
#include "rrd/transaction.h"
#include "timeseries/host.h"
#include "timeseries/rrd/constants.h"

namespace nvx::TimeSeriesDatabase {

namespace Rrd {

const std::string LAST_KEYWORD = "LAST";
const std::string DATA_SOURCE_FILE_EXTENSION = "rrd";

}  // namespace Rrd

namespace {

static_assert(sizeof(std::time_t) == 8, "the RRD library is called with a time_t of 64 bits");

const std::string COMPONENT_NAME = "TimeSeriesDatabase::RrdClient";
const std::string STEP_KEYWORD = "step";
const std::string DS_DEFINITION_PREFIX = "DS:element:GAUGE:";
const std::string MIGRATION_DS_DEFINITION_PREFIX = "DS:element=element[1]:GAUGE:";
const std::string RRA_DEFINITION_PREFIX = "RRA:LAST:0.99999:1:";

using Rrd::FARTHEST_TIME;
using Rrd::FileGate;
using Rrd::LockedFile;

std::time_t SecondBefore(long long time) {
  return static_cast<std::time_t>(static_cast<unsigned long long>(time) - 1);
}

// The RRD library would store such a sample, and spoil the file. With a 32-bit long, it stores
// nonsense for a time after January 2038.
const char* FindTimeFault(const std::map<long long, double>& samples) {
  const long long last = samples.empty() ? 0 : samples.rbegin()->first;
  // GCOVR_EXCL_START: where a long has 32 bits
  if (last > std::numeric_limits<long>::max()) {
    return "sample time beyond 32 bits";
  }
  // GCOVR_EXCL_STOP
  return last > FARTHEST_TIME ? "sample time out of range" : nullptr;
}

// The last update of a file that no operation could open.
const char* FindStartFault(long long startTime) {
  return startTime > FARTHEST_TIME ? "start time out of range" : nullptr;
}

// The data source names of a successful fetch.
class NameList {
 public:
  NameList(char** fetchedNames, unsigned long fetchedCount)
      : names(fetchedNames), count(fetchedCount) {}
  NameList(const NameList&) = delete;
  NameList& operator=(const NameList&) = delete;

  ~NameList() {
    for (unsigned long i = 0; i < count; ++i) {
      std::free(names[i]);
    }
    std::free(names);
  }

 private:
  char** names;
  unsigned long count;
};

// The definitions of a file's one data source and its one archive.
struct Definitions {
  Definitions(const std::string& dataSourcePrefix, long long step, double minimum, double maximum,
              unsigned int rowCount)
      : dataSource(dataSourcePrefix), archive(RRA_DEFINITION_PREFIX) {
    const auto heartbeat = static_cast<long long>(2 * static_cast<unsigned long long>(step));
    AppendNumber(dataSource, heartbeat);
    dataSource += ':';
    AppendNumber(dataSource, minimum);
    dataSource += ':';
    AppendNumber(dataSource, maximum);
    AppendNumber(archive, static_cast<long long>(rowCount));
  }

  std::string dataSource;
  std::string archive;
};

std::atomic<bool> isPinned{false};

// A file that is checked before a call of the RRD library, and locked until the call has returned.
struct GuardedFile {
  explicit GuardedFile(const std::string& path, LockedFile::Use use = LockedFile::Use::Read)
      : lock(path, use), gate(lock.Get()), name(path) {
    if (isPinned && lock.Get() != -1) {
      name = "/proc/self/fd/" + std::to_string(lock.Get());
    }
  }

  // The path by which the RRD library reads the file.
  const char* GetName() const { return name.c_str(); }

  // Why the RRD library must not be called; null when it may. Those below are for an update, a
  // fetch and a migration.
  const char* GetFault() const { return Choose(gate.GetFault()); }
  const char* GetUpdateFault(const std::map<long long, double>& samples) const {
    const char* const fault = Choose(gate.GetUpdateFault());
    return fault == nullptr ? FindTimeFault(samples) : fault;
  }
  const char* GetFetchFault(long long start, long long end) const {
    return Choose(gate.GetFetchFault(start, end));
  }
  const char* GetMigrationFault(long long startTime) const {
    const char* const fault = Choose(gate.GetMigrationFault());
    return fault == nullptr ? FindStartFault(startTime) : fault;
  }

  LockedFile lock;
  FileGate gate;

 private:
  std::string name;

  const char* Choose(const char* gateFault) const {
    return lock.GetFault() == nullptr ? gateFault : lock.GetFault();
  }
};

using Information = std::unique_ptr<rrd_info_t, decltype(&rrd_info_free)>;

// The words for a failure: the fault of a file that was kept from the RRD library, or else the RRD
// library's own words.
const char* GetReason(const char* fault) { return fault == nullptr ? rrd_get_error() : fault; }

// Keeps these words as the reason of the failure. rrd_get_error itself is only for log lines.
void KeepReason(const char* fault, bool isLocked = false) {
  const char* const words = fault == nullptr ? rrd_get_context()->rrd_error : fault;
  const char* const reason = isLocked ? Rrd::LOCK_FAULT : words;
  KeepFailure(Rrd::FindKind(reason), reason);
}

// Whether a migration failed because of a lock. The RRD library only says that it cannot open the
// source.
bool IsSourceLocked(const std::string& path) {
  const std::string_view reason = rrd_get_context()->rrd_error;
  return reason.rfind("Cannot open source RRD", 0) == 0 && FileGate::IsFileLocked(path);
}

// Null, after a line in the log, when the file cannot be read.
Information ReadInformation(const char* operation, const std::string& path) {
  const GuardedFile file(path);
  const char* const fault = file.GetFault();
  Information information(fault == nullptr ? rrd_info_r(file.GetName()) : nullptr, rrd_info_free);
  if (information == nullptr) {
    KeepReason(fault);
    NVX_ERROR_IN(operation, "Failed to read information from[%s]. rrd error :[%s]", path.c_str(),
                 GetReason(fault));
    rrd_clear_error();
  }
  return information;
}

void LogCreateError(const char* operation, const char* fault, const std::string& path,
                    const Definitions& definitions) {
  NVX_ERROR_IN(operation, "error [%s], file path [%s], arguments [%s %s]", GetReason(fault),
               path.c_str(), definitions.dataSource.c_str(), definitions.archive.c_str());
}

void LogCreateSuccess(const char* operation, const std::string& path,
                      const Definitions& definitions) {
  NVX_INFO_IN(operation, "Create rrd file [%s] with arguments [%s %s]", path.c_str(),
              definitions.dataSource.c_str(), definitions.archive.c_str());
}

void LogFetchError(const char* fault, std::time_t start, std::time_t end, const std::string& path) {
  NVX_ERROR_IN(
      "Fetch", "error [%s],Time window start time = [%lld], end time = [%lld], file path = [%s]",
      GetReason(fault), static_cast<long long>(start), static_cast<long long>(end), path.c_str());
}

struct AskedRows {
  unsigned long archive;
  unsigned long source;
  long long start;
  long long end;
};

// The RRD library's lock keeps writers away; the header is read once more under it. Returns the
// fault.
const char* ReadRows(const GuardedFile& file, const AskedRows& asked, Rrd::ArchiveRows& rows) {
  const int fd = file.lock.Get();
  if (fd == -1) {
    return "it cannot be opened";
  }
  if (file.GetFault() != nullptr) {
    return file.GetFault();
  }
  if (!FileGate::Lock(fd)) {
    return Rrd::LOCK_FAULT;
  }
  return rows.Read(fd, FileGate(fd), asked.archive, asked.source, asked.start, asked.end);
}

// The texts of all samples in one buffer, each with a NUL at its end, and the position of each.
class SampleTexts {
 public:
  explicit SampleTexts(const std::map<long long, double>& samples) {
    constexpr std::size_t USUAL_SIZE = 24;
    buffer.reserve(samples.size() * USUAL_SIZE);
    starts.reserve(samples.size());
    for (const auto& [time, value] : samples) {
      starts.push_back(buffer.size());
      Append(time, value);
    }
  }

  std::vector<const char*> Get() const {
    std::vector<const char*> texts;
    texts.reserve(starts.size());
    for (const std::size_t start : starts) {
      texts.push_back(buffer.data() + start);
    }
    return texts;
  }

 private:
  void Append(long long time, double value) {
    char text[2 * LONGEST_NUMBER + 2];
    char* end = WriteNumber(text, time);
    *end++ = ':';
    end = WriteNumber(end, value);
    *end++ = '\0';
    buffer.append(text, end);
  }

  std::string buffer;
  std::vector<std::size_t> starts;
};

// The time up to which an update may fill rows. The RRD library counts a negative time from now.
long long FindLastTime(const std::map<long long, double>& samples) {
  return samples.begin()->first >= 0 ? samples.rbegin()->first
                                     : std::numeric_limits<long long>::max();
}

struct UpdateResult {
  bool isStored;
  std::string
      fault;  // why the RRD library did not get the samples; empty if it refused them itself
};

UpdateResult CallUpdate(const std::string& path, std::vector<const char*> arguments) {
  // The RRD library would take the error of an earlier call for one of this update and stop.
  if (rrd_test_error() != 0) {
    rrd_clear_error();
  }
  return {rrd_update_r(path.c_str(), nullptr, static_cast<int>(arguments.size()),
                       arguments.data()) != -1,
          ""};
}

// Stores all samples or none.
UpdateResult StoreAtomically(const std::string& path, const std::map<long long, double>& samples,
                             Rrd::Durability durability,
                             const std::vector<const char*>& arguments) {
  const GuardedFile file(path, LockedFile::Use::Transaction);
  if (file.lock.Get() == -1) {
    return {false,
            "opening '" + path + "': " + std::generic_category().message(file.lock.GetError())};
  }
  const char* const fault = file.GetUpdateFault(samples);
  if (fault != nullptr) {
    return {false, fault};
  }
  // The RRD library refuses these two cases before it changes anything.
  if (arguments.empty() || file.gate.GetHeader().empty()) {
    return CallUpdate(path, arguments);
  }
  Rrd::Transaction transaction(file.lock, file.gate.GetHeader(), FindLastTime(samples), durability);
  if (!transaction.GetFault().empty()) {
    return {false, transaction.GetFault()};
  }
  UpdateResult result = CallUpdate(path, arguments);
  if (result.isStored) {
    result.fault = transaction.Commit();
    result.isStored = result.fault.empty();
  }
  return result;
}

StatusCode EndUpdate(const std::string& path, const std::vector<const char*>& arguments,
                     const UpdateResult& result) {
  if (!result.isStored) {
    const char* const fault = result.fault.empty() ? nullptr : result.fault.c_str();
    KeepReason(fault);
    NVX_ERROR_IN("Update", "error [%s], file path [%s], arguments [%s %s]", GetReason(fault),
                 path.c_str(), arguments.empty() ? "" : arguments[0],
                 arguments.size() < 2 ? "" : arguments[1]);
    rrd_clear_error();
    return StatusCode::Failure;
  }
  NVX_INFO_IN("Update", "Update rrd file [%s] with %u samples", path.c_str(),
              static_cast<unsigned int>(arguments.size()));
  return StatusCode::Success;
}

}  // namespace

RrdClient::~RrdClient() = default;

void RrdClient::PinFiles() noexcept { isPinned = true; }

StatusCode RrdClient::GetFirstTimestamp(const std::string& path, int rraIndex,
                                        long long& timestamp) const {
  const StatusCode found = CheckFileExist(path);
  if (found != StatusCode::Success) {
    return found;
  }
  const GuardedFile file(path);
  const char* const fault = file.GetFault();
  timestamp = fault == nullptr ? rrd_first_r(file.GetName(), rraIndex) : -1;
  if (timestamp == -1) {
    KeepReason(fault);
    NVX_ERROR("Failed to get first timestamp from [%s]. rrd error :[%s]", path.c_str(),
              GetReason(fault));
    rrd_clear_error();
    return StatusCode::Failure;
  }
  NVX_INFO("First timestamp [%lld] for [%s]", timestamp, path.c_str());
  return StatusCode::Success;
}

StatusCode RrdClient::GetLastTimestamp(const std::string& path, long long& timestamp) const {
  const StatusCode found = CheckFileExist(path);
  if (found != StatusCode::Success) {
    return found;
  }
  const GuardedFile file(path);
  const char* const fault = file.GetFault();
  timestamp = fault == nullptr ? rrd_last_r(file.GetName()) : -1;
  if (timestamp == -1) {
    KeepReason(fault);
    NVX_ERROR("Failed to get last timestamp from [%s]. rrd error :[%s]", path.c_str(),
              GetReason(fault));
    rrd_clear_error();
    return StatusCode::Failure;
  }
  return StatusCode::Success;
}

StatusCode RrdClient::GetInterval(const std::string& path, unsigned long& interval) const {
  const StatusCode found = CheckFileExist(path);
  if (found != StatusCode::Success) {
    return found;
  }
  const Information information = ReadInformation("GetInterval", path);
  if (information == nullptr) {
    return StatusCode::Failure;
  }

  const rrd_info_t* entry = information.get();
  while (entry != nullptr && (entry->key != STEP_KEYWORD || entry->type != RD_I_CNT)) {
    entry = entry->next;
  }
  if (entry == nullptr) {
    NVX_FAILURE("Failed to find keyword [%s] in [%s]", STEP_KEYWORD.c_str(), path.c_str());
    return StatusCode::Failure;
  }
  interval = entry->value.u_cnt;
  return StatusCode::Success;
}

StatusCode RrdClient::Fetch(const std::string& path, long long start, long long end,
                            Rrd::FetchResult& result) const {
  // The RRD library returns the rows after the first bound, so that the row of `start` comes first.
  std::time_t s = SecondBefore(start);
  std::time_t e = SecondBefore(end);
  NVX_TRACE("user time window [%lld, %lld]", static_cast<long long>(s), static_cast<long long>(e));

  unsigned long step = 0;
  unsigned long dataSourceCount = 0;
  char** names = nullptr;
  rrd_value_t* data = nullptr;
  const GuardedFile file(path);
  const char* const fault = file.GetFetchFault(start, end);
  if (fault != nullptr || rrd_fetch_r(file.GetName(), Rrd::LAST_KEYWORD.c_str(), &s, &e, &step,
                                      &dataSourceCount, &names, &data) == -1) {
    KeepReason(fault);
    LogFetchError(fault, s, e, path);
    rrd_clear_error();
    return StatusCode::Failure;
  }
  const NameList nameList(names, dataSourceCount);
  std::unique_ptr<double, decltype(&std::free)> samples(data, std::free);
  if (data == nullptr) {
    NVX_FAILURE("error pointer is null");
    return StatusCode::NullPointer;
  }
  NVX_TRACE("rrd time window [%lld, %lld]", static_cast<long long>(s), static_cast<long long>(e));
  if (step == 0) {
    samples.reset();
    NVX_FAILURE("error step = 0");
    return StatusCode::Failure;
  }

  result.Fill(s, e, step, samples.release());
  return StatusCode::Success;
}

StatusCode RrdClient::FetchRows(const std::string& path, unsigned long archive,
                                unsigned long source, long long start, long long end,
                                Rrd::FetchResult& result) const {
  const GuardedFile file(path);
  Rrd::ArchiveRows rows;
  if (const char* const fault = ReadRows(file, {archive, source, start, end}, rows)) {
    KeepReason(fault);
    LogFetchError(fault, start, end, path);
    return StatusCode::Failure;
  }
  const long long length = rows.GetLength();
  result.Fill(rows.GetFirst() - length, rows.GetLast(), static_cast<unsigned long>(length),
              rows.Release());
  return StatusCode::Success;
}

StatusCode RrdClient::Create(const std::string& path, long long step, long long startTime,
                             double minimum, double maximum, unsigned int rowCount) const {
  const Definitions definitions(DS_DEFINITION_PREFIX, step, minimum, maximum, rowCount);
  const char* arguments[] = {definitions.dataSource.c_str(), definitions.archive.c_str()};
  const char* const fault = FindStartFault(startTime);
  if (fault != nullptr || rrd_create_r(path.c_str(), static_cast<unsigned long>(step),
                                       static_cast<std::time_t>(startTime), 2, arguments) == -1) {
    KeepReason(fault);
    LogCreateError("Create", fault, path, definitions);
    rrd_clear_error();
    return StatusCode::Failure;
  }
  LogCreateSuccess("Create", path, definitions);
  return StatusCode::Success;
}

StatusCode RrdClient::Update(const std::string& path,
                             const std::map<long long, double>& samples) const {
  const SampleTexts texts(samples);
  const std::vector<const char*> arguments = texts.Get();
  const auto store = [&]() -> UpdateResult {
    const GuardedFile file(path, LockedFile::Use::Update);
    const char* const fault = file.GetUpdateFault(samples);
    if (fault != nullptr) {
      return {false, fault};
    }
    return CallUpdate(path, arguments);
  };
  return EndUpdate(path, arguments, store());
}

StatusCode RrdClient::UpdateAtomically(const std::string& path,
                                       const std::map<long long, double>& samples,
                                       Rrd::Durability durability) const {
  const SampleTexts texts(samples);
  const std::vector<const char*> arguments = texts.Get();
  return EndUpdate(path, arguments, StoreAtomically(path, samples, durability, arguments));
}

StatusCode RrdClient::Migrate(const std::string& path, long long step, long long startTime,
                              double minimum, double maximum, unsigned int rowCount) const {
  const Definitions definitions(MIGRATION_DS_DEFINITION_PREFIX, step, minimum, maximum, rowCount);
  const char* arguments[] = {definitions.dataSource.c_str(), definitions.archive.c_str()};
  constexpr int MAY_OVERWRITE = 0;
  const GuardedFile file(path);
  const char* sources[] = {file.GetName(), nullptr};
  const char* const fault = file.GetMigrationFault(startTime);
  if (fault != nullptr || rrd_create_r2(path.c_str(), static_cast<unsigned long>(step),
                                        static_cast<std::time_t>(startTime), MAY_OVERWRITE, sources,
                                        nullptr, 2, arguments) == -1) {
    KeepReason(fault, fault == nullptr && IsSourceLocked(path));
    LogCreateError("Migrate", fault, path, definitions);
    return StatusCode::Failure;
  }
  LogCreateSuccess("Migrate", path, definitions);
  return StatusCode::Success;
}

StatusCode RrdClient::Describe(const std::string& path, Rrd::FileDescription& description) const {
  const StatusCode found = CheckFileExist(path);
  if (found != StatusCode::Success) {
    return found;
  }
  const Information information = ReadInformation("Describe", path);
  if (information == nullptr) {
    return StatusCode::Failure;
  }
  description = Rrd::ReadFileInformation(information.get());
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase
