#include "host_under_test.h"

#include <utility>

#include "nvx/workstation/in_memory_redis_client.h"

namespace HostUnderTest {

void SetLogLevel(nv::kora::KoraLogLevel level) {
  nvx::Log::RootLogger::GetInstance().SetLevel(level);
}

std::vector<std::string> CaptureLog(void (*work)()) {
  std::vector<std::string> lines;
  auto& logger = nvx::Log::RootLogger::GetInstance();
  auto before = logger.SetDestination(
      [&lines](nv::kora::KoraLogLevel, const std::string& line) { lines.push_back(line); });
  work();
  logger.SetDestination(std::move(before));
  return lines;
}

std::unique_ptr<nv::kora::RedisClientInterface> MakeStore(
    const std::map<std::string, std::string>& fields) {
  auto store = std::make_unique<nvx::Workstation::InMemoryRedisClient>();
  for (const auto& [field, value] : fields) {
    store->HashSet("key", field, value);
  }
  return store;
}

}  // namespace HostUnderTest
