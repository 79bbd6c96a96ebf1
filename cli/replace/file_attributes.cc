#include "replace/file_attributes.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "replace/file_error.h"

namespace nvx::TimeSeriesDatabase::CommandLine {
namespace {

constexpr char ACCESS_CONTROL_LIST[] = "system.posix_acl_access";
constexpr mode_t ALL_BITS = 07777;

// The names of a file's extended attributes, of which a file system may have none.
std::vector<std::string> ListNames(int file) {
  const ssize_t size = flistxattr(file, nullptr, 0);
  RequireCall(size >= 0 || errno == ENOTSUP, "its extended attributes cannot be read");
  std::string names(static_cast<std::size_t>(size < 0 ? 0 : size), '\0');
  const ssize_t taken = names.empty() ? 0 : flistxattr(file, names.data(), names.size());
  RequireCall(taken >= 0, "its extended attributes cannot be read");
  std::vector<std::string> list;
  for (const char* name = names.data(); name < names.data() + taken;
       name += std::strlen(name) + 1) {
    list.emplace_back(name);
  }
  return list;
}

std::optional<std::string> Read(int file, const std::string& name) {
  const ssize_t size = fgetxattr(file, name.c_str(), nullptr, 0);
  if (size < 0) {
    return std::nullopt;
  }
  std::string value(static_cast<std::size_t>(size), '\0');
  const ssize_t taken = fgetxattr(file, name.c_str(), value.data(), value.size());
  return taken == size ? std::optional(value) : std::nullopt;
}

void CopyExtendedAttributes(int source, int destination) {
  // An access control list that the new file inherited from its directory could let in people who
  // had
  // no access before.
  if (Read(destination, ACCESS_CONTROL_LIST)) {
    RequireCall(fremovexattr(destination, ACCESS_CONTROL_LIST) == 0,
                "its access control list cannot be kept");
  }
  for (const std::string& name : ListNames(source)) {
    const std::optional<std::string> value = Read(source, name);
    RequireCall(value.has_value(), "its extended attribute " + name + " cannot be read");
    if (Read(destination, name) != value) {
      RequireCall(fsetxattr(destination, name.c_str(), value->data(), value->size(), 0) == 0,
                  "its extended attribute " + name + " cannot be kept");
    }
  }
}

}  // namespace

void CopyAttributes(int source, const struct stat& sourceStatus, int destination) {
  RequireCall(fchown(destination, sourceStatus.st_uid, sourceStatus.st_gid) == 0,
              "its owner cannot be kept");
  CopyExtendedAttributes(source, destination);
  // Last, since a change of the owner clears bits.
  RequireCall(fchmod(destination, sourceStatus.st_mode & ALL_BITS) == 0, "its mode cannot be kept");
}

void CopyTimes(const struct stat& sourceStatus, int destination) {
  const timespec times[] = {sourceStatus.st_atim, sourceStatus.st_mtim};
  RequireCall(futimens(destination, times) == 0, "its modification time cannot be kept");
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
