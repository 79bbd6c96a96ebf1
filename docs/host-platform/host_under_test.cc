#include "host_under_test.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace HostUnderTest {
namespace {

class MapStore : public nv::kora::RedisClientInterface {
 public:
  explicit MapStore(const std::map<std::string, std::string>& stored) : fields(stored) {}

  nv::kora::StatusCode HashGet(const std::string& key, const std::string& field,
                               std::string& value) override {
    if (key != "key" || fields.count(field) == 0) {
      return nv::kora::StatusCode::Failure;
    }
    value = fields[field];
    return nv::kora::StatusCode::Success;
  }

 private:
  std::map<std::string, std::string> fields;
};

}  // namespace

void SetLogLevel(nv::kora::KoraLogLevel level) {
  nvx::Log::RootLogger::GetInstance().SetLevel(level);
}

std::vector<std::string> CaptureLog(void (*work)()) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const file = open_memstream(&text, &size);
  nvx::Log::RootLogger::GetInstance().SetOutput(file);
  work();
  nvx::Log::RootLogger::GetInstance().SetOutput(stderr);
  std::fclose(file);
  std::istringstream log(std::string(text, size));
  std::free(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(log, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::unique_ptr<nv::kora::RedisClientInterface> MakeStore(
    const std::map<std::string, std::string>& fields) {
  return std::make_unique<MapStore>(fields);
}

}  // namespace HostUnderTest
