#pragma once

#include <string>
#include <vector>

#include "base/command_error.h"
#include "points/metadata_store.h"
#include "points/row_tally.h"
#include "rrd/patient_client.h"
#include "timeseries/host.h"
#include "timeseries/rrd/database.h"
#include "timeseries/rrd/numerical_data_source.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

inline constexpr char NO_DIRECTORY[] = "there is no such directory";

// What the commands share: the database directories, the services under them, and the exit status.
// Every operation throws CommandError.
struct Context {
  std::vector<std::string> directories = {"."};
  std::vector<std::string> programArguments;  // as the program was started
  ExitStatus exitStatus = EXIT_DONE;
  Utilities::FileSystem fileSystem;
  MetadataStore store;
  PatientClient rrdClient;
  RowTally rowTally;

  // The command will end with EXIT_PARTIAL_DATA, unless something failed.
  void NotePartialData() {
    if (exitStatus == EXIT_DONE) {
      exitStatus = EXIT_PARTIAL_DATA;
    }
  }

  // Tells an error of one of several files or data sources; the command will end with EXIT_FAILED.
  void TellFailure(const CommandError& error);

  // The directory of a command that takes one. Throws UsageError when several were given.
  const std::string& GetDirectory() const;

  Rrd::Database MakeDatabase(const std::string& directory);

  // The path of an id's file, whether it exists or not; it lies in the directory itself.
  std::string GetPath(const std::string& directory, const std::string& zeltId);
  std::string GetPath(const std::string& zeltId) { return GetPath(GetDirectory(), zeltId); }

  // The path of an id's file, which exists.
  std::string GetPathOfExisting(const std::string& directory, const std::string& zeltId);
  std::string GetPathOfExisting(const std::string& zeltId) {
    return GetPathOfExisting(GetDirectory(), zeltId);
  }

  // The path of an id's file, which exists and was not written by another machine.
  std::string GetPathOfNative(const std::string& directory, const std::string& zeltId);
  std::string GetPathOfNative(const std::string& zeltId) {
    return GetPathOfNative(GetDirectory(), zeltId);
  }

  // Requires that a file was not written by another machine. `name` is for messages.
  static void RequireNative(const std::string& path, const std::string& name);

  // The data source of a file, which is not opened yet.
  Rrd::NumericalDataSource MakeDataSource(const std::string& path) {
    return {path, store, rrdClient.GetForDataSources()};
  }
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
