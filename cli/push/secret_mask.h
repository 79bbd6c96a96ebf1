#pragma once

#include <string>
#include <vector>

namespace nvx::TimeSeriesDatabase::CommandLine {

// Keeps secrets out of messages.
class SecretMask {
 public:
  // Nothing is done for an empty secret.
  void Add(const std::string& secret);

  // The words with "*" in place of each secret, also of one in the encoding of a URL. Empty when a
  // secret is in them in yet another encoding: better no words than a secret.
  std::string Hide(const std::string& words) const;

 private:
  std::vector<std::string> secrets;
};

}  // namespace nvx::TimeSeriesDatabase::CommandLine
