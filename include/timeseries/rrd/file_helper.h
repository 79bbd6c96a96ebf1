#pragma once

#include <set>
#include <string>

#include "timeseries/export.h"
#include "timeseries/status_code.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Finds the scope of a Zelt id or file name. There is a table of scopes; the alphabetically first
// one that occurs in `key`, wherever it stands, is the scope: that of "topo:diag1" is "diag".
// InvalidArgument, with `scope` unchanged, when none occurs.
NVX_TIMESERIES_EXPORT StatusCode FindZeltScope(const std::string& key, std::string& scope);

// The table of scopes. Every Zelt id begins with one of them: diag, edge_application, event,
// fw_up, health, historization, io_block, local_device, local_modbus, modbus, security, topo,
// vrk_system, zigbee.
NVX_TIMESERIES_EXPORT const std::set<std::string>& ListZeltScopes();

// The mapping between Zelt ids, "topo:ZoneList", and bare file names, "topo_ZoneList.rrd". The
// first ";" of an id becomes "__" in its file name.
//
// An id made of its scope, ":" and a name comes back from its file name if the name
// - neither begins with "_" nor has "__" before its first ";" (or anywhere, without one), and
// - does not have its first ";" at its beginning or after a "_".
class NVX_TIMESERIES_EXPORT FileHelper {
 public:
  // Whether the id contains ":". Its scope is not looked at.
  static bool IsZeltIdValid(const std::string& zeltId);

  // InvalidArgument, with `fileName` unchanged, for an id without scope or without ":" after it.
  // What follows the ":" goes into the file name as it is, "/" included.
  static StatusCode ComputeFileNameFromZeltId(const std::string& zeltId, std::string& fileName);

  // The last four characters of the name, separator and extension, are dropped without a look.
  // InvalidArgument for a name without scope, with `zeltId` unchanged, or without "_" after it,
  // with an undefined text in `zeltId`.
  static StatusCode ComputeZeltIdFromFileName(const std::string& fileName, std::string& zeltId);
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
