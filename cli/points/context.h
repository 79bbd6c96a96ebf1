#pragma once

#include <string>
#include <vector>

#include "base/command_error.h"
#include "points/metadata_store.h"
#include "rrd/patient_client.h"
#include "timeseries/host.h"
#include "timeseries/rrd/database.h"
#include "timeseries/rrd/numerical_data_source.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What the commands share: the database directory, the services under it, and the exit status.
// Every operation throws CommandError.
struct Context {
  std::string directory = ".";
  std::vector<std::string> directories = {directory};  // for the commands that take several
  ExitStatus exitStatus = EXIT_DONE;
  Utilities::FileSystem fileSystem;
  MetadataStore store;
  PatientClient rrdClient;

  // Ends with EXIT_PARTIAL_DATA, unless something failed.
  void NotePartialData() {
    if (exitStatus == EXIT_DONE) {
      exitStatus = EXIT_PARTIAL_DATA;
    }
  }

  Rrd::Database MakeDatabase() { return {GetDirectoryPath(), fileSystem, store, rrdClient}; }

  // The directory as it is handed over. The RRD library takes a path such as "cb//x.rrd" for the
  // URL of a server, but not one that begins with "/" or "./".
  std::string GetDirectoryPath() const;

  // The path of an id's file, whether it exists or not; it lies in the directory itself.
  std::string GetPath(const std::string& zeltId);

  // The path of an id's file, which exists.
  std::string GetPathOfExisting(const std::string& zeltId);

  // The path of an id's file, which exists and was not written by another machine.
  std::string GetPathOfNative(const std::string& zeltId);

  // The data source of a file, which is not opened yet.
  Rrd::NumericalDataSource MakeDataSource(const std::string& path) {
    return {path, store, rrdClient};
  }
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
