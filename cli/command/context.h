#pragma once

#include <string>

#include "error/command_error.h"
#include "store/metadata_store.h"
#include "timeseries/host.h"
#include "timeseries/rrd/database.h"
#include "timeseries/rrd/numerical_data_source.h"
#include "timeseries/rrd_client.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// What the commands share: the database directory, the services under it, and the exit status.
// Every operation throws CommandError.
struct Context {
  std::string directory = ".";
  ExitStatus exitStatus = EXIT_DONE;
  Utilities::FileSystem fileSystem;
  MetadataStore store;
  RrdClient rrdClient;

  Rrd::Database MakeDatabase() { return {directory, fileSystem, store, rrdClient}; }

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
