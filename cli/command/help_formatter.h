#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Writes help that fits in 80 columns, with an example for each command. The layout is its own,
// since CLI11's differs between versions.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name,
                        CLI::AppFormatMode mode) const override;
  std::string make_description(const CLI::App* app) const override;
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_group(std::string group, bool arePositionals,
                         std::vector<const CLI::Option*> options) const override;
  std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override;
  std::string make_option(const CLI::Option* option, bool isPositional) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_footer(const CLI::App* app) const override;

 private:
  // A name, and in the column beside it, or below a long name, its description.
  std::string MakeEntry(const std::string& name, const std::string& description) const;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
