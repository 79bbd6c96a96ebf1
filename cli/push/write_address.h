#pragma once

#include <optional>
#include <string>

#include "push/secret_mask.h"

namespace nvx::TimeSeriesDatabase::CommandLine {

// Where a server takes line protocol, and the user or token for it.
struct WriteAddress {
  std::string url;       // with the precision of the timestamps
  std::string name;      // for messages and as the key of the server; without secrets
  std::string fileName;  // the same as a file name
  std::string user;      // empty for none
  std::string password;
  std::string authorization;         // the value of that header; empty for none
  bool hasHiddenParameters = false;  // the name leaves values out
  SecretMask mask;

  bool HasCredentials() const {
    return !user.empty() || !password.empty() || !authorization.empty() || hasHiddenParameters;
  }
};

struct Secrets {
  std::optional<std::string> userFile;   // of a file with "USER:PASSWORD"
  std::optional<std::string> tokenFile;  // of a file with a token
};

// Reads the URL of a server. A user and a password before its host, or as its parameters u and p,
// are taken out of it. Throws UsageError, which tells none of them, and CommandError for a file of
// secrets that cannot be read.
WriteAddress ReadWriteAddress(const std::string& text, const Secrets& secrets);

}  // namespace nvx::TimeSeriesDatabase::CommandLine
