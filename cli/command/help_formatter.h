#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Writes help that fits in 80 columns, with an example for each command.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_description(const CLI::App* app) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;
  std::string make_subcommand(const CLI::App* command) const override;
  std::string make_footer(const CLI::App* app) const override;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
