#include "rrd/data_file.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/shortest_text.h"
#include "replace/file_error.h"
#include "replace/file_replacement.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Throws the reason of a failed call of the library.
void RequireDone(StatusCode status) {
  if (status != StatusCode::Success) {
    throw FileError(Failure::GetReason(), status);
  }
}

std::string Format(double number) { return std::string(ShortestText(number).Get()); }

template <typename Number>
std::string Format(Number number) {
  return std::to_string(number);
}

// The RRD library does not say why it cannot write.
void RequireRoom(const FileReplacement& replacement, const DataFileDefinition& definition) {
  constexpr off_t HEADER_ROOM = 4096;  // more than the header takes
  replacement.RequireRoom(HEADER_ROOM +
                          static_cast<off_t>(definition.rowCount) * off_t{sizeof(double)});
}

template <typename Number>
bool IsSame(Number lhs, Number rhs) {
  return lhs == rhs;
}

bool IsSame(double lhs, double rhs) { return lhs == rhs || (std::isnan(lhs) && std::isnan(rhs)); }

template <typename Number>
void RequireSame(const char* what, Number asked, Number made) {
  RequireArgument(IsSame(asked, made), std::string("the RRD library would change ") + what +
                                           " from " + Format(asked) + " to " + Format(made));
}

// The RRD library changes some definitions and does not say so.
void RequireAsDefined(const Rrd::FileDescription& made, const DataFileDefinition& definition) {
  RequireArgument(made.HasShapeOfCreate(), "the RRD library made a file of another shape");
  RequireSame("the step", definition.step, static_cast<long long>(made.step));
  RequireSame("rows", static_cast<unsigned long>(definition.rowCount), made.archives[0].rowCount);
  RequireSame("the start", definition.startTime, made.lastUpdate);
  RequireSame("min", definition.minimum, made.dataSources[0].minimum);
  RequireSame("max", definition.maximum, made.dataSources[0].maximum);
}

Rrd::FileDescription Describe(const PatientClient& client, const std::string& path) {
  Rrd::FileDescription description;
  RequireDone(client.Describe(path, description));
  return description;
}

// Checks the file that the RRD library has put in place of the empty or copied one.
void Finish(FileReplacement& replacement, const DataFileDefinition& definition,
            const PatientClient& client) {
  replacement.Reopen();
  RequireAsDefined(Describe(client, replacement.GetPath()), definition);
}

}  // namespace

void CreateDataFile(const std::string& path, const DataFileDefinition& definition, bool mayReplace,
                    const PatientClient& client,
                    const std::function<void(const std::string&)>& fill) {
  const ResolvedPath resolved = Resolve(path);
  const Directory directory(resolved.directory);
  LockedDirectory lock(directory);
  std::optional<OpenedFile> old;
  if (mayReplace && directory.Has(resolved.name)) {
    old.emplace(directory, resolved.name);
    old->RequireReplaceable();
  }
  FileReplacement replacement(lock, resolved.name);
  RequireRoom(replacement, definition);
  RequireDone(client.Create(replacement.GetPath(), definition.step, definition.startTime,
                            definition.minimum, definition.maximum, definition.rowCount));
  Finish(replacement, definition, client);
  fill(replacement.GetPath());
  replacement.ReplaceOrMake(old);
  directory.Sync();
}

ComparedSamples MigrateDataFile(const std::string& path, const DataFileDefinition& definition,
                                bool mayDrop, const PatientClient& client) {
  // The RRD library makes an empty archive of a longer one.
  constexpr long long LONGEST_SPAN = (1LL << 31) - 1;
  RequireArgument(definition.step <= LONGEST_SPAN / definition.rowCount,
                  "its rows would span more than " + std::to_string(LONGEST_SPAN) + " seconds");
  const ResolvedPath resolved = Resolve(path);
  const Directory directory(resolved.directory);
  LockedDirectory lock(directory);
  const OpenedFile old(directory, resolved.name);
  old.RequireReplaceable();
  FileReplacement replacement(lock, resolved.name);
  replacement.CopyContent(old);
  RequireRoom(replacement, definition);
  RequireDone(client.Migrate(replacement.GetPath(), definition.step, definition.startTime,
                             definition.minimum, definition.maximum, definition.rowCount));
  Finish(replacement, definition, client);
  const ComparedSamples samples = CompareSamples(client, old.GetPath(), replacement.GetPath());
  RequireArgument(mayDrop || samples.lostCount == 0,
                  std::to_string(samples.lostCount) + " of its " +
                      std::to_string(samples.keptCount + samples.lostCount) +
                      " samples would be lost; --force accepts that");
  replacement.Replace(old);
  directory.Sync();
  return samples;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
