#include "push/secret_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "base/command_error.h"
#include "base/message.h"
#include "replace/file_descriptor.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

// Reads to the end of a line, or as many bytes as a secret may have.
std::string ReadLine(const FileDescriptor& file, const std::string& path) {
  constexpr std::size_t LONGEST = 8192;
  std::string line;
  while (line.size() < LONGEST && line.find('\n') == std::string::npos) {
    char bytes[512];
    const ssize_t count = read(file.Get(), bytes, sizeof bytes);
    if (count < 0) {
      throw CommandError(path, "cannot be read: " + std::generic_category().message(errno),
                         StatusCode::IoError);
    }
    if (count == 0) {
      break;
    }
    line.append(bytes, static_cast<std::size_t>(count));
  }
  line.resize(std::min(line.size(), line.find('\n')));
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return line;
}

void WarnOfReaders(const FileDescriptor& file, const std::string& path) {
  struct stat status {};
  if (fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
      (status.st_mode & S_IROTH) != 0) {
    PrintMessage(path + ": every user can read this secret; chmod 600 keeps it");
  }
}

}  // namespace

std::string ReadSecretFile(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
  if (!file.IsOpen()) {
    throw CommandError(path, "cannot be opened: " + std::generic_category().message(errno),
                       StatusCode::IoError);
  }
  std::string line = ReadLine(file, path);
  const bool hasControls = std::any_of(line.begin(), line.end(), [](char character) {
    return static_cast<unsigned char>(character) < ' ' || character == 127;
  });
  if (line.empty() || hasControls) {
    throw CommandError(path, "its first line is no secret");
  }
  WarnOfReaders(file, path);
  return line;
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
