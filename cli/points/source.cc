#include "points/source.h"

#include <algorithm>
#include <utility>

#include "base/command_error.h"
#include "base/words.h"
#include "points/spans.h"
#include "rrd/described_file.h"
#include "timeseries/rrd/constants.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

[[noreturn]] void RefuseName(const std::string& name, const std::string& fileName,
                             const Rrd::FileDescription& file) {
  std::vector<std::string> known;
  for (const Rrd::DataSourceDescription& source : file.dataSources) {
    known.push_back(source.name);
  }
  throw CommandError(fileName, "has no data source " + name + "; there is " + Join(known),
                     StatusCode::NotFound);
}

bool HasSameShape(const Rrd::FileDescription& file, const Rrd::FileDescription& other) {
  return file.step == other.step &&
         std::equal(file.dataSources.begin(), file.dataSources.end(), other.dataSources.begin(),
                    other.dataSources.end(),
                    [](const auto& one, const auto& two) { return one.name == two.name; }) &&
         std::equal(file.archives.begin(), file.archives.end(), other.archives.begin(),
                    other.archives.end(), [](const auto& one, const auto& two) {
                      return one.consolidation == two.consolidation &&
                             one.stepsPerRow == two.stepsPerRow && one.rowCount == two.rowCount;
                    });
}

}  // namespace

Source::Source(const SelectedFile& selected, Context& commandContext)
    : Source(selected.GetName(), selected.GetPathOfNative(commandContext),
             std::make_shared<Rrd::FileDescription>(DescribeSingleSource(
                 commandContext.rrdClient, selected.GetPathOfNative(commandContext),
                 selected.GetName())),
             0, commandContext) {}

Source::Source(const std::string& nameOfFile, const std::string& filePath,
               std::shared_ptr<const Rrd::FileDescription> description, unsigned long sourceColumn,
               Context& commandContext)
    : fileName(nameOfFile),
      name(nameOfFile),
      path(filePath),
      described(std::move(description)),
      file(*described),
      context(commandContext),
      column(sourceColumn),
      hasSpans(HasSpans(file)),
      isByArchive(file.dataSources.size() > 1 || !HasOnlyLastValues(file)) {
  if (file.dataSources.size() > 1) {
    sourceName = file.dataSources[column].name;
    name += ' ' + sourceName;
  }
}

Source Source::DescribeAgain() const {
  const auto now =
      std::make_shared<const Rrd::FileDescription>(DescribeFile(context.rrdClient, path, fileName));
  if (!HasSameShape(file, *now)) {
    throw CommandError(name, "its file was replaced while it was read", StatusCode::Failure);
  }
  Source again(fileName, path, now, column, context);
  again.consolidation = consolidation;
  return again;
}

void RequireSources(const std::vector<std::string>& names, const std::string& fileName,
                    const Rrd::FileDescription& file) {
  for (const std::string& name : names) {
    if (std::none_of(file.dataSources.begin(), file.dataSources.end(),
                     [&name](const auto& source) { return source.name == name; })) {
      RefuseName(name, fileName, file);
    }
  }
}

std::vector<Source> OpenSources(const SelectedFile& selected, const std::vector<std::string>& names,
                                Context& context) {
  const std::string path = selected.GetPathOfNative(context);
  const auto file = std::make_shared<const Rrd::FileDescription>(
      DescribeFile(context.rrdClient, path, selected.GetName()));
  RequireSources(names, selected.GetName(), *file);
  std::vector<Source> sources;
  for (unsigned long i = 0; i < file->dataSources.size(); ++i) {
    const bool isWanted = names.empty() || std::find(names.begin(), names.end(),
                                                     file->dataSources[i].name) != names.end();
    if (isWanted) {
      sources.emplace_back(selected.GetName(), path, file, i, context);
    }
  }
  return sources;
}

std::vector<Source> OpenSourcesOfRows(const SelectedFile& selected,
                                      const std::vector<std::string>& names, Context& context) {
  std::vector<Source> sources;
  for (Source& source : OpenSources(selected, names, context)) {
    if (!source.hasSpans) {
      sources.push_back(source);
      continue;
    }
    for (const std::string& consolidation : ListConsolidations(source.file)) {
      source.consolidation = consolidation;
      sources.push_back(source);
    }
  }
  return sources;
}

void ForEachSource(const std::vector<Source>& sources, Context& context,
                   const std::function<void(const Source&)>& work) {
  for (const Source& source : sources) {
    try {
      work(source);
    } catch (const CommandError& error) {
      if (sources.size() == 1) {
        throw;
      }
      context.TellFailure(error);
    }
  }
}

Series MakeSeries(const SelectedFile& file, const Source& source, const Labels& more) {
  Series series = file.MakeSeries(more);
  series.source = source.sourceName;
  const bool isLast = source.consolidation == Rrd::LAST_KEYWORD;
  for (const auto& [name, value] : {std::pair(SOURCE_LABEL, source.sourceName),
                                    {CONSOLIDATION_LABEL, isLast ? "" : source.consolidation}}) {
    if (!value.empty() && !series.labels.emplace(name, value).second) {
      throw CommandError(source.name,
                         std::string("the label ") + name + " is given by the command itself");
    }
  }
  return series;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
