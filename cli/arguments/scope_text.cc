#include "arguments/scope_text.h"

#include <vector>

#include "arguments/nearest_word.h"
#include "timeseries/rrd/file_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

std::string JoinScopes() {
  std::string text;
  for (const std::string& scope : Rrd::ListZeltScopes()) {
    text += (text.empty() ? "" : ", ") + scope;
  }
  return text;
}

}  // namespace

std::string GetIdHelp() {
  return "ID is a scope, ':' and a name, such as topo:Boiler. The scopes are " + JoinScopes() + ".";
}

std::string SuggestScope(const std::string& wrongId) {
  const auto& scopes = Rrd::ListZeltScopes();
  return "; the scopes are " + JoinScopes() +
         SuggestWord(wrongId.substr(0, wrongId.find(':')), {scopes.begin(), scopes.end()});
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
