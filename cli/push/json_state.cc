#include "push/json_state.h"

#include <fstream>
#include <nlohmann/json.hpp>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Server, directory, kind, id, time.
using Kinds = std::map<std::string, std::map<std::string, long long>>;
using Servers = std::map<std::string, std::map<std::string, Kinds>>;

// In such a state, bytes that are not UTF-8 were replaced, so that several series may have become
// one, and URL parameters that may be secret had a number in place of their value.
bool IsAmbiguous(const std::string& key) { return key.find("\xef\xbf\xbd") != std::string::npos; }

}  // namespace

ConfirmedByServer ReadJsonState(const std::string& path) {
  std::ifstream stream(path);
  const auto servers = nlohmann::json::parse(stream).get<Servers>();
  ConfirmedByServer all;
  for (const auto& [server, directories] : servers) {
    for (const auto& [directory, kinds] : directories) {
      for (const auto& [kind, times] : kinds) {
        for (const auto& [zeltId, time] : times) {
          const bool isAmbiguous = IsAmbiguous(server) || IsAmbiguous(directory) ||
                                   IsAmbiguous(kind) || IsAmbiguous(zeltId);
          if (!isAmbiguous && server.find("=*") == std::string::npos) {
            all[server][{directory, kind, zeltId}] = time;
          }
        }
      }
    }
  }
  return all;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
