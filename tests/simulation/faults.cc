// What goes wrong in a device's life, and what is done to its files.

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "simulation/device.h"
#include "simulation/disk.h"
#include "support/child.h"
#include "support/command.h"
#include "support/interrupted_process.h"
#include "support/resource_limit.h"

namespace nvx::TimeSeriesDatabase::Simulation {

namespace fs = std::filesystem;

void Device::Backup(Source& source) {
  source.backup = ReadBytes(source.path).value_or("");
  source.backupModel = source.model;
}

// As a user does: over the file or in its place.
void Device::Restore(Source& source) {
  if (random.Between(0, 1) == 0) {
    OverwriteBytes(source.path, source.backup);
    source.model = source.backupModel;
    Audit(source);
  } else {
    PutInPlace(source, source.backup, source.backupModel);
  }
}

void Device::PutInPlace(Source& source, const std::string& bytes, const Model& model) {
  OverwriteBytes(source.path + ".new", bytes);
  fs::rename(source.path + ".new", source.path);
  source.model = model;
  Audit(source);
}

// What waits and is not late, or else some sample.
Samples Device::MakeBatch(Source& source) {
  Samples batch(source.waiting.upper_bound(source.model.last), source.waiting.end());
  source.waiting.clear();
  if (batch.empty()) {
    batch[source.model.last + random.Between(1, 3 * source.model.step)] = 1.5;
  }
  return batch;
}

// Afterwards all of the batch is there or nothing.
void Device::Attempt(Source& source,
                     const std::function<std::optional<bool>(const Samples&)>& attempt) {
  const Samples batch = MakeBatch(source);
  Model after = source.model;
  after.Store(batch);
  const std::optional<bool> isStored = attempt(batch);
  long long last = 0;
  Expect(client.GetLastTimestamp(source.path, last) == StatusCode::Success,
         source.id + " is unreadable after an interruption");
  const bool isAfter = last == after.last;
  Expect(isAfter == isStored.value_or(isAfter), source.id + ": a batch was lost or came back");
  ++figures[isAfter ? "interrupted batches stored" : "interrupted batches undone"];
  if (isAfter) {
    source.model = after;
  }
  Audit(source);
}

// Before any of its stores and changing calls, the first ones more often, if it has so many.
std::optional<bool> Device::KillUpdate(const Source& source, const Samples& batch,
                                       Durability durability) {
  const long long moment = random.Between(1, 1LL << random.Between(2, 13));
  const bool isKilled =
      KillAtStore([&] { (void)client.UpdateAtomically(source.path, batch, durability); }, moment);
  figures["updates that were killed"] += isKilled ? 1 : 0;
  return isKilled ? std::nullopt : std::optional(true);
}

void Device::KillReader(const Source& source) {
  long long last = 0;
  const bool isKilled =
      KillAtStore([&] { (void)client.GetLastTimestamp(source.path, last); }, random.Between(1, 8));
  figures["readers that were killed"] += isKilled ? 1 : 0;
}

void Device::Kill(Source& source) {
  Attempt(source, [&](const Samples& batch) {
    const std::optional<bool> isStored = KillUpdate(source, batch, source.durability);
    while (random.Between(0, 2) == 0) {  // who undoes it is killed as well
      KillReader(source);
    }
    return isStored;
  });
}

// The journal that lies there changes nothing of a backup, nor of another source's file that looks
// like the torn one.
void Device::KillAndRestore(Source& source) {
  const Model& model = source.model;
  Samples batch = MakeBatch(source);
  // One that fills all rows leaves nothing by which another file is told from the torn one.
  batch.erase(batch.lower_bound(model.last + model.rowCount / 2 * model.step), batch.end());
  KillUpdate(source, batch, source.durability);
  const auto twin = std::find_if(sources.begin(), sources.end(), [&](const Source& other) {
    return &other != &source && other.model.step == model.step &&
           other.model.rowCount == model.rowCount;
  });
  if (twin == sources.end() || random.Between(0, 1) == 0) {
    Restore(source);
  } else {
    PutInPlace(source, ReadBytes(twin->path).value_or(""), twin->model);
  }
}

void Device::LosePower(Source& source) {
  const std::string journal = source.path + "-journal";
  Attempt(source, [&](const Samples& batch) {
    std::optional<bool> isStored;
    {
      const Disk disk(source.path, journal);
      isStored = KillUpdate(source, batch, Durability::Power);
      disk.LosePower(random);
    }
    while (random.Between(0, 2) == 0) {  // again, while it is undone
      const Disk disk(source.path, journal);
      KillReader(source);
      disk.LosePower(random);
    }
    return isStored;
  });
}

void Device::FillDisk(Source& source) {
  Attempt(source, [&](const Samples& batch) {
    const ResourceLimit limit(RLIMIT_FSIZE, static_cast<rlim_t>(random.Between(0, 4000)));
    return client.UpdateAtomically(source.path, batch, source.durability) == StatusCode::Success;
  });
}

// Of another process, which reads or writes.
void Device::HoldLock(Source& source) {
  const int fd = open(source.path.c_str(), O_RDWR | O_CLOEXEC);
  const bool isWriter = random.Between(0, 1) == 0;
  struct flock lock {};
  lock.l_type = isWriter ? F_WRLCK : F_RDLCK;
  Expect((random.Between(0, 1) == 0 ? flock(fd, isWriter ? LOCK_EX : LOCK_SH)
                                    : fcntl(fd, F_OFD_SETLK, &lock)) == 0,
         source.id + " cannot be locked");
  const Samples batch = {{source.model.last + source.model.step, 1}};
  long long last = 0;
  Expect(client.UpdateAtomically(source.path, batch, source.durability) == StatusCode::Failure &&
             Failure::IsLocked(),
         source.id + ": a locked file was written");
  Expect(isWriter ? client.GetLastTimestamp(source.path, last) == StatusCode::Failure &&
                        Failure::IsLocked()
                  : client.GetLastTimestamp(source.path, last) == StatusCode::Success,
         source.id + ": a locked file was read, or was not");
  close(fd);
  Audit(source);
}

void Device::ExpectRefusal(const Source& source, const char* what) {
  const std::string before = ReadBytes(source.path).value_or("");
  long long last = 0;
  Rrd::FetchResult result;
  const Model& model = source.model;
  Expect(client.GetLastTimestamp(source.path, last) != StatusCode::Success &&
             client.Fetch(source.path, model.last - model.step, model.last, result) !=
                 StatusCode::Success &&
             client.UpdateAtomically(source.path, {{model.last + 1, 1}}, source.durability) !=
                 StatusCode::Success &&
             ReadBytes(source.path) == before,
         source.id + ": a file that " + what + " was used");
}

void Device::Damage(Source& source) {
  std::string bytes = ReadBytes(source.path).value_or("");
  const auto size = static_cast<long long>(bytes.size());
  const long long kind = random.Between(0, 2);
  if (kind == 0) {
    bytes.resize(static_cast<std::size_t>(random.Between(0, size - 1)));
  } else if (kind == 1) {
    std::fill_n(bytes.begin(), random.Between(8, size), static_cast<char>(random()));
  } else {  // what is read of it is not known, and need not be refused
    for (long long count = random.Between(1, 4); count > 0; --count) {
      bytes[random.Below(std::min<std::size_t>(bytes.size(), 900))] = static_cast<char>(random());
    }
  }
  OverwriteBytes(source.path, bytes);
  if (kind < 2) {
    ExpectRefusal(source, "is damaged");
  }
  const int status = RunInChild({"check", source.id});
  Expect(status == 3 || (kind == 2 && status == 0), source.id + ": the damage was not told");
  const int queryStatus =
      RunInChild({"query", source.id, "--interval", "1d", "--from", "last-30d"});
  Expect(queryStatus == 1 || (kind == 2 && queryStatus < 4), source.id + ": a query ended badly");
  Restore(source);
}

void Device::Exchange(Source& source) {
  Source& other = PickSource();
  fs::rename(source.path, files + "/exchange");
  if (&other != &source) {
    fs::rename(other.path, source.path);
    std::swap(source.model, other.model);
  }
  fs::rename(files + "/exchange", other.path);
  Audit(source);
  Audit(other);
}

// Another number of rows; the old file or the new one stands there whatever happens.
void Device::Migrate(Source& source) {
  if (IS_SANITIZED != 0) {
    return;  // the RRD library reads outside its memory in every migration
  }
  Model after = source.model;
  after.rowCount += after.rowCount > 100 ? random.Between(-25, 250) * 2 + 1 : 51;
  after.DropOld();
  const auto migrate = [&] {
    return client.Migrate(source.path, after.step, after.last, after.minimum, after.maximum,
                          static_cast<unsigned int>(after.rowCount));
  };
  std::optional<bool> isMigrated;
  if (random.Between(0, 1) == 0) {
    KillAtStore([&] { (void)migrate(); }, random.Between(1, 20));
  } else {
    const ResourceLimit limit(RLIMIT_FSIZE, static_cast<rlim_t>(random.Between(0, 60000)));
    isMigrated = migrate() == StatusCode::Success;
  }
  Rrd::FileDescription description;
  Expect(client.Describe(source.path, description) == StatusCode::Success, source.id);
  const bool isNew = description.archives[0].rowCount == static_cast<unsigned long>(after.rowCount);
  Expect(isNew == isMigrated.value_or(isNew), source.id + " was not migrated as it was told");
  ++figures[isNew ? "migrations that were done" : "migrations that failed"];
  if (isNew) {
    source.model = after;
  }
  Audit(source);
}

// To the layout of another machine, there to a time_t of 32 bits and on to one of 64, and home.
void Device::Convert(Source& source) {
  constexpr std::size_t LAST_UPDATE = 120 + 120 + 112;  // of one source and one archive
  const auto home = ReadBytes(source.path);
  RunTwice({"convert", "--in-place", "--to", "arm32-time64", source.path});
  const auto abroad = ReadBytes(source.path);
  std::string bytes = abroad.value_or("");
  OverwriteBytes(source.path, bytes.erase(LAST_UPDATE + 12, 4).erase(LAST_UPDATE + 4, 4));
  ExpectRefusal(source, "is of another machine");
  RunTwice({"convert", "--in-place", source.path});
  Expect(ReadBytes(source.path) == abroad, source.id + ": other bytes after a conversion");
  RunTwice({"convert", "--in-place", "--to", "native", source.path});
  Expect(ReadBytes(source.path) == home, source.id + ": other bytes after all conversions");
  Audit(source);
}

// Once until it is killed, if it lives so long, and once to its end.
void Device::RunTwice(const std::vector<std::string>& arguments) {
  const bool isKilled = KillAtStore([&] { Run(arguments, RunCommand); }, random.Between(1, 20));
  figures["commands that were killed"] += isKilled ? 1 : 0;
  Expect(RunInChild(arguments) == 0, "a command failed: " + ReadBytes(messages).value_or(""));
}

// In this process, with its output in a file.
int Device::Run(const std::vector<std::string>& arguments, int (*command)(int, char**)) const {
  const int fd = open(messages.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  dup2(fd, STDOUT_FILENO);
  dup2(fd, STDERR_FILENO);
  std::vector<std::string> texts = {"-d", files};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  return RunInProcess(texts, command);
}

int Device::RunInChild(const std::vector<std::string>& arguments) const {
  return ::RunInChild([&] { return Run(arguments, RunCommand); });
}

}  // namespace nvx::TimeSeriesDatabase::Simulation
