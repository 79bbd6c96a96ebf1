#include <ctime>
#include <filesystem>
#include <memory>

#include "command/commands.h"
#include "files/data_file.h"
#include "files/file_error.h"
#include "input/file_definition.h"
#include "output/message.h"
#include "timeseries/rrd/file_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// The past that a new file takes by default, so that a sample of right now is later than its start.
constexpr long long DEFAULT_LEAD = 10;

// Some ids share a file name with another one, under which the data source is then listed.
void WarnIfListedOtherwise(const std::string& zeltId, const std::string& path) {
  const std::string fileName = std::filesystem::path(path).filename().string();
  std::string listed;
  if (Rrd::FileHelper::ComputeZeltIdFromFileName(fileName, listed) != StatusCode::Success) {
    PrintMessage(zeltId + ": warning: its file " + fileName + " cannot be listed");
  } else if (listed != zeltId) {
    PrintMessage(zeltId + ": warning: its file " + fileName + " is listed as " + listed);
  }
}

void Create(const FileDefinition& definition, Context& context) {
  const std::string path = context.GetPath(definition.zeltId);
  CheckDefinition(definition);
  const long long start = ReadStart(definition).value_or(std::time(nullptr) - DEFAULT_LEAD);
  if (!definition.isForced && Utilities::FileSystem::CheckFileExist(path) == StatusCode::Success) {
    throw CommandError(definition.zeltId, path + " exists; --force replaces it",
                       StatusCode::InvalidArgument);
  }
  try {
    CreateDataFile(path, MakeDataFileDefinition(definition, start), definition.isForced,
                   context.rrdClient);
  } catch (const FileError& error) {
    throw CommandError(definition.zeltId, path + " cannot be created: " + error.what(),
                       error.GetStatus());
  }
  WarnIfListedOtherwise(definition.zeltId, path);
}

}  // namespace

void AddCreateCommand(CLI::App& app, Context& context) {
  CLI::App* const command = app.add_subcommand("create", "Create the file of a data source");
  const auto definition = std::make_shared<FileDefinition>();
  AddDefinitionOptions(*command, *definition,
                       "Only later samples can be stored (default: 10 seconds ago)",
                       "Replace an existing file");
  command->callback([definition, &context] { Create(*definition, context); });
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
