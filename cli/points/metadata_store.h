#pragma once

#include <memory>
#include <optional>
#include <string>

#include "timeseries/host.h"

namespace nvx::Workstation {
class RedisClient;
}

namespace nvx::TimeSeriesDatabase::CommandLine {

// The platform's store of first timestamps and intervals, or none. When a store does not answer, or
// has something other than a hash under a file's key, the command does not fail: one message says
// so, and the store is not asked again, or not for that file.
class MetadataStore : public RedisClientInterface {
 public:
  // Names the store, without connecting to it. InvalidArgument, with `problem` telling why, for a
  // malformed URL.
  StatusCode SetUrl(const std::string& url, std::string& problem);

  bool IsNamed() const { return client != nullptr; }

  // What the last HashGet found; nothing when it did not find its field.
  const std::optional<std::string>& GetFound() const { return found; }

  StatusCode HashGet(const std::string& key, const std::string& field, std::string& value) override;

  // Sets the two fields of the file's hash. Throws CommandError when they are not stored.
  void Write(const std::string& path, long long firstTimestamp, unsigned long interval);

 private:
  std::shared_ptr<Workstation::RedisClient> client;
  bool isAway = false;
  std::string refusedKey;  // a key that holds something other than a hash
  std::optional<std::string> found;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
