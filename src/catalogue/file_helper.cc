#include "timeseries/rrd/file_helper.h"

#include <set>

#include "foundation/log.h"
#include "timeseries/host.h"
#include "timeseries/rrd/constants.h"

namespace nvx::TimeSeriesDatabase::Rrd {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::FileHelper";

const std::set<std::string> ZELT_SCOPES = {
    "diag",         "edge_application", "event",  "fw_up",    "health", "historization", "io_block",
    "local_device", "local_modbus",     "modbus", "security", "topo",   "vrk_system",    "zigbee",
};
const std::string COLON = ":";
const std::string UNDERSCORE = "_";
const std::string SEMICOLON = ";";
const std::string DOUBLE_UNDERSCORE = "__";

// The extension and its separator, which is one character.
std::size_t SuffixSize() { return 1 + DATA_SOURCE_FILE_EXTENSION.size(); }

bool ReplaceFirst(const std::string& from, const std::string& to, std::size_t start,
                  std::string& text) {
  const std::size_t position = text.find(from, start);
  if (position == std::string::npos) {
    return false;
  }
  text.replace(position, from.size(), to);
  return true;
}

}  // namespace

StatusCode FindZeltScope(const std::string& key, std::string& scope) {
  for (const std::string& name : ZELT_SCOPES) {
    if (key.find(name) != std::string::npos) {
      scope = name;
      return StatusCode::Success;
    }
  }
  KeepFailure("No zelt scope found in key [%s]", key.c_str());
  NVX_TRACE("No zelt scope found in key [%s]", key.c_str());
  return StatusCode::InvalidArgument;
}

const std::set<std::string>& ListZeltScopes() { return ZELT_SCOPES; }

bool FileHelper::IsZeltIdValid(const std::string& zeltId) {
  return zeltId.find(COLON) != std::string::npos;
}

StatusCode FileHelper::ComputeFileNameFromZeltId(const std::string& zeltId, std::string& fileName) {
  std::string scope;
  const StatusCode rc = FindZeltScope(zeltId, scope);
  if (rc != StatusCode::Success) {
    return rc;
  }
  const std::size_t colon = zeltId.find(COLON, scope.size());
  if (colon == std::string::npos) {
    NVX_FAILURE("Malformed zelt id [%s]", zeltId.c_str());
    return StatusCode::InvalidArgument;
  }
  std::string name = scope + UNDERSCORE + zeltId.substr(colon + COLON.size());
  if (ReplaceFirst(SEMICOLON, DOUBLE_UNDERSCORE, 0, name)) {
    NVX_TRACE("File name successfuly computed");
  }
  fileName =
      name + Utilities::FileSystem::FILENAME_EXTENSION_SEPARATOR + DATA_SOURCE_FILE_EXTENSION;
  return StatusCode::Success;
}

StatusCode FileHelper::ComputeZeltIdFromFileName(const std::string& fileName, std::string& zeltId) {
  std::string scope;
  const StatusCode rc = FindZeltScope(fileName, scope);
  if (rc != StatusCode::Success) {
    return rc;
  }
  zeltId = fileName.substr(0, fileName.size() - SuffixSize());
  ReplaceFirst(DOUBLE_UNDERSCORE, SEMICOLON, 0, zeltId);
  if (!ReplaceFirst(UNDERSCORE, COLON, scope.size(), zeltId)) {
    NVX_FAILURE("Malformed file name [%s]", fileName.c_str());
    return StatusCode::InvalidArgument;
  }
  return StatusCode::Success;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd
