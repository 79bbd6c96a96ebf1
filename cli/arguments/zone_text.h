#pragma once

#include <cctz/time_zone.h>

#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

constexpr char ZONE_HELP[] =
    "ZONE is a name of the time zone database, such as Europe/Berlin, or local, the zone of this "
    "machine, from the variable TZ or else from /etc/localtime.";

// The zone of a name of the zoneinfo database, or of the machine for "local". Throws UsageError for
// any other text, and for a machine whose zone is not to be found.
cctz::time_zone LoadZone(const std::string& name);

// The name of a zone in the database, also of one that was loaded from a file such as
// /etc/localtime; where the file has none, a text that differs when its rules do.
std::string IdentifyZone(const cctz::time_zone& zone);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
