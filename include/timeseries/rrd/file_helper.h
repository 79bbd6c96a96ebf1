#pragma once

#include <string>

#include "timeseries/export.h"
#include "timeseries/host.h"

namespace nvx::TimeSeriesDatabase::Rrd {

// Finds the scope of a Zelt id or file name: the first name, in ascending order, of the table of
// scopes that occurs anywhere in `key`. InvalidArgument, with `scope` unchanged, when none does.
NVX_TIMESERIES_EXPORT StatusCode FindZeltScope(const std::string& key, std::string& scope);

// The mapping between Zelt ids, "topo:ZoneList", and bare file names, "topo_ZoneList.rrd". The
// first
// ";" of an id is "__" in its file name. The two directions are inverse for an id that is its
// scope,
// ":" and a name, unless the name's part before its first ";" begins with "_", contains "__" or
// ends with "_" there.
class NVX_TIMESERIES_EXPORT FileHelper {
 public:
  // Whether the id contains ":"; its scope is not looked at.
  static bool IsZeltIdValid(const std::string& zeltId);

  // InvalidArgument, with `fileName` unchanged, for an id without scope or without ":" after it.
  // The rest of the id is taken as it is, "/" included.
  static StatusCode ComputeFileNameFromZeltId(const std::string& zeltId, std::string& fileName);

  // InvalidArgument for a name without scope (`zeltId` is unchanged then) or without "_" after it
  // (`zeltId` is of no use then).
  static StatusCode ComputeZeltIdFromFileName(const std::string& fileName, std::string& zeltId);
};

}  // namespace nvx::TimeSeriesDatabase::Rrd
