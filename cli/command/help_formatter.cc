#include "command/help_formatter.h"

#include <map>
#include <sstream>
#include <utility>

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr std::size_t WIDTH = 80;

const std::map<std::string, std::string> EXAMPLES = {
    {"nvx-timeseries", "nvx-timeseries query topo:Boiler --interval 1d --from 2024-06"},
    {"create", "nvx-timeseries create topo:Boiler --step 600 --csv boiler.csv"},
    {"migrate", "nvx-timeseries migrate topo:Boiler --rows 52560"},
    {"update", "nvx-timeseries update topo:Boiler 2024-06-01T00:00Z:61.5 N:60"},
    {"list", "nvx-timeseries -d /srv/rrd list"},
    {"info", "nvx-timeseries info 'topo:*' --format json"},
    {"last", "nvx-timeseries last topo:Boiler --zone local"},
    {"query", "nvx-timeseries query topo:Boiler --interval 1d --from today-1mo --zone local"},
    {"export", "nvx-timeseries export 'topo:*' --from last-7d --format line-protocol"},
    {"push", "nvx-timeseries push http://127.0.0.1:8428/write"},
    {"check", "nvx-timeseries check 'topo:*'"},
    {"recover", "nvx-timeseries recover topo:Boiler --in-place"},
    {"convert", "nvx-timeseries convert --in-place --backup .old /srv/rrd"},
};

// Breaks lines that are longer than `width` between words.
std::string Wrap(const std::string& text, std::size_t width) {
  std::string wrapped;
  std::size_t column = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    wrapped += wrapped.empty() ? "" : "\n";
    column = 0;
    std::istringstream words(line);
    for (std::string word; words >> word;) {
      const bool isFull = column > 0 && column + 1 + word.size() > width;
      wrapped += column == 0 ? "" : isFull ? "\n" : " ";
      column = column == 0 || isFull ? word.size() : column + 1 + word.size();
      wrapped += word;
    }
  }
  return wrapped;
}

}  // namespace

std::string HelpFormatter::make_help(const CLI::App* app, std::string name,
                                     CLI::AppFormatMode mode) const {
  return make_description(app) + make_usage(app, std::move(name)) + make_positionals(app) +
         make_groups(app, mode) + make_subcommands(app, mode) + "\n" + make_footer(app);
}

std::string HelpFormatter::make_description(const CLI::App* app) const {
  return Wrap(app->get_description(), WIDTH) + "\n";
}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const {
  std::string usage = "Usage: " + name + " [OPTIONS]";
  for (const CLI::Option* option : app->get_options()) {
    usage += option->get_positional() ? " " + make_option_usage(option) : "";
  }
  return usage + (app->get_subcommands({}).empty() ? "\n" : " [SUBCOMMAND]\n");
}

std::string HelpFormatter::make_group(std::string /*group*/, bool arePositionals,
                                      std::vector<const CLI::Option*> options) const {
  std::string text = arePositionals ? "\nPositionals:\n" : "\nOptions:\n";
  for (const CLI::Option* option : options) {
    text += make_option(option, arePositionals);
  }
  return text;
}

std::string HelpFormatter::make_subcommands(const CLI::App* app,
                                            CLI::AppFormatMode /*mode*/) const {
  std::string text;
  for (const CLI::App* command : app->get_subcommands({})) {
    text += text.empty() ? "\nSubcommands:\n" : "";
    text += MakeEntry(command->get_name(), command->get_description());
  }
  return text;
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
  return MakeEntry(make_option_name(option, isPositional) + make_option_opts(option),
                   option->get_description());
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  const std::size_t nameSize = 2 + option->get_name(false, true).size();
  const std::string text = Wrap(CLI::Formatter::make_option_opts(option), WIDTH - nameSize - 1);
  return text.empty() ? "" : " " + CLI::detail::find_and_replace(text, "\n", "\n      ");
}

std::string HelpFormatter::make_footer(const CLI::App* app) const {
  std::string text;
  if (!app->get_footer().empty()) {
    text = Wrap(app->get_footer(), WIDTH) + "\n";
  }
  const auto example = EXAMPLES.find(app->get_name());
  if (example != EXAMPLES.end()) {
    text += "\nExample:\n  " + example->second + "\n";
  }
  return text;
}

std::string HelpFormatter::MakeEntry(const std::string& name,
                                     const std::string& description) const {
  const std::size_t column = get_column_width();
  const std::string indent(column, ' ');
  std::string entry = "  " + name;
  if (entry.size() < column) {
    entry.resize(column, ' ');
  } else {
    entry += "\n" + indent;
  }
  const std::string text = Wrap(description, WIDTH - column);
  return entry + CLI::detail::find_and_replace(text, "\n", "\n" + indent) + "\n";
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
