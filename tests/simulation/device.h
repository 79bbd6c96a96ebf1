#pragma once

#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "nvx/file_system.h"
#include "nvx/workstation/in_memory_redis_client.h"
#include "simulation/model.h"
#include "simulation/server.h"
#include "support/plain_query.h"
#include "support/random.h"
#include "support/temporary_directory.h"
#include "timeseries/rrd/database.h"
#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::Simulation {

// How often a thing was done or went wrong.
using Figures = std::map<std::string, long long>;

// What was done otherwise than the model says.
struct Difference : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A device with some sources. A random seed decides everything in its life. A model beside each
// file says what has to be in it.
class Device {
 public:
  Device(unsigned long seed, Figures& lifeFigures);

  // Lives for one to three years and returns these, in seconds. Throws a Difference.
  long long Live();

 private:
  using Durability = Rrd::Durability;

  struct Source {
    std::string id;
    std::string path;
    Durability durability = Durability::Process;
    long long period = 0;    // of its service
    bool isOffStep = false;  // its samples are
    double value = 0;
    Samples waiting;  // taken by the service, not yet stored
    Model model;
    std::string backup;
    Model backupModel;
    // What is later than `reached` is to be sent, and nothing up to `sent` again. A point between
    // them may have been sent or not: a push was ended before it could remember that.
    long long sent = 0;
    long long reached = 0;
  };

  struct Event {
    const char* name;
    int weight;
    void (Device::*happen)(Source&);
  };

  void Advance();
  void TakeSamples(Source& source, long long from, long long to);
  void Store(Source& source);
  bool StoreLate(Source& source);
  void Backup(Source& source);
  void Restore(Source& source);
  void PutInPlace(Source& source, const std::string& bytes, const Model& model);

  void Query(const Source& source);
  void Audit(const Source& source);

  // Events.
  void StepClock(Source& source);
  void ChangeZone(Source& source);
  void Exchange(Source& source);
  void Migrate(Source& source);
  void Convert(Source& source);
  void Push(Source& source);
  void Kill(Source& source);
  void KillAndRestore(Source& source);
  void LosePower(Source& source);
  void FillDisk(Source& source);
  void HoldLock(Source& source);
  void Damage(Source& source);

  // `attempt` says whether the batch was stored; nothing where a killed process cannot know.
  void Attempt(Source& source, const std::function<std::optional<bool>(const Samples&)>& attempt);
  std::optional<bool> KillUpdate(const Source& source, const Samples& batch, Durability durability);
  void KillReader(const Source& source);
  Samples MakeBatch(Source& source);
  void ExpectRefusal(const Source& source, const char* what);
  void CheckPush(const Server::Run& run, bool isDone, bool isRemembered);

  void Expect(bool isTrue, const std::string& what) const;
  Source& PickSource();
  const LocalCalendar& GetCalendar() const;
  int Run(const std::vector<std::string>& arguments, int (*command)(int, char**)) const;
  int RunInChild(const std::vector<std::string>& arguments) const;
  void RunTwice(const std::vector<std::string>& arguments);

  static const Event EVENTS[];

  Random random;
  Figures& figures;
  const TemporaryDirectory directory;
  const std::string files = directory.GetPath("rrd");
  const std::string messages = directory.GetPath("messages");
  const std::string state = directory.GetPath("state");
  const Server server;
  Utilities::FileSystem fileSystem;
  Workstation::InMemoryRedisClient redis;
  RrdClient client;
  const Rrd::Database database{files, fileSystem, redis, client};
  std::vector<Source> sources;
  std::string zone = "UTC";
  long long clock;  // of the device
  long long age = 0;
};

}  // namespace nvx::TimeSeriesDatabase::Simulation
