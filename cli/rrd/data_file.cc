#include "rrd/data_file.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/value_text.h"
#include "replace/file_error.h"
#include "replace/file_replacement.h"
#include "rrd/row_walk.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Both zeros are the same bound.
std::string Format(double bound) { return std::string(ShortestText(bound + 0.0).Get()); }

// The RRD library does not say why it cannot write.
void RequireRoom(const FileReplacement& replacement, const DataFileDefinition& definition) {
  constexpr off_t HEADER_ROOM = 4096;  // more than the header takes
  replacement.RequireRoom(HEADER_ROOM +
                          static_cast<off_t>(definition.rowCount) * off_t{sizeof(double)});
}

// The RRD library changes some definitions and does not say so.
void RequireSame(const char* what, const std::string& asked, const std::string& made) {
  RequireArgument(asked == made, std::string("the RRD library would change ") + what + " from " +
                                     asked + " to " + made);
}

void RequireAsDefined(const Rrd::FileDescription& made, const DataFileDefinition& definition) {
  RequireArgument(made.HasShapeOfCreate(), "the RRD library made a file of another shape");
  const Rrd::DataSourceDescription& source = made.dataSources.front();
  RequireSame("the step", std::to_string(definition.step), std::to_string(made.step));
  RequireSame("rows", std::to_string(definition.rowCount),
              std::to_string(made.archives.front().rowCount));
  RequireSame("the start", std::to_string(definition.startTime), std::to_string(made.lastUpdate));
  RequireSame("min", Format(definition.minimum), Format(source.minimum));
  RequireSame("max", Format(definition.maximum), Format(source.maximum));
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

// Compares the samples of the old file with those of the new one.
ComparedSamples CompareSamples(const PatientClient& client, const std::string& oldPath,
                               const std::string& newPath) {
  constexpr char PROBLEM[] = "its samples cannot be compared";
  constexpr long long PIECE_ROW_COUNT = 1 << 16;
  const Rrd::FileDescription oldFile = Describe(client, oldPath);
  const Rrd::FileDescription newFile = Describe(client, newPath);
  const Rrd::ArchiveDescription& oldRows = oldFile.archives.front();
  const Rrd::ArchiveDescription& newRows = newFile.archives.front();
  const auto newStep = static_cast<long long>(newFile.step);
  ComparedSamples compared;
  Rrd::FetchResult piece;  // of the new file
  long long pieceEnd = newRows.firstTime - 1;
  const auto compare = [&](long long time, double sample) {
    const bool hasRow =
        newRows.firstTime <= time && time <= newRows.lastTime && time % newStep == 0;
    if (hasRow && time > pieceEnd) {
      pieceEnd = std::min(newRows.lastTime, time + (PIECE_ROW_COUNT - 1) * newStep);
      if (ReadRows(client, newPath, newStep, time, pieceEnd, piece) != StatusCode::Success) {
        throw FileError(PROBLEM, StatusCode::Failure);
      }
    }
    if (!std::isnan(sample)) {
      const bool isKept =
          hasRow && piece.GetData()[(time - piece.GetStartTime()) / newStep] == sample;
      ++(isKept ? compared.keptCount : compared.lostCount);
    }
  };
  if (WalkRows(client, oldPath, static_cast<long long>(oldFile.step), oldRows.firstTime,
               oldRows.lastTime, compare) != StatusCode::Success) {
    throw FileError(PROBLEM, StatusCode::Failure);
  }
  return compared;
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
