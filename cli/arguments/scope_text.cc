#include "arguments/scope_text.h"

#include "arguments/nearest_word.h"
#include "base/words.h"
#include "timeseries/rrd/file_helper.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

std::string GetIdHelp() {
  return "ID is a scope, ':' and a name, such as topo:Boiler. The scopes are " +
         Join(Rrd::ListZeltScopes()) + ".";
}

std::string SuggestScope(const std::string& wrongId) {
  const auto& scopes = Rrd::ListZeltScopes();
  return "; the scopes are " + Join(scopes) +
         SuggestWord(wrongId.substr(0, wrongId.find(':')), {scopes.begin(), scopes.end()});
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
