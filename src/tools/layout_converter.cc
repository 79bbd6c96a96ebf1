#include "timeseries/rrd/tool/layout_converter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <system_error>

#include "foundation/log.h"
#include "tools/layout_rewriter.h"
#include "tools/recognition.h"

namespace nvx::TimeSeriesDatabase::Rrd::Tool {
namespace {

const std::string COMPONENT_NAME = "TimeSeriesDatabase::Rrd::Tool::LayoutConverter";

std::string ErrorText() { return std::generic_category().message(errno); }

class Descriptor {
 public:
  Descriptor() = default;
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (fd >= 0) {
      close(fd);
    }
  }

  bool Open(const std::string& path, int flags) {
    constexpr mode_t READ_WRITE = 0666;
    fd = open64(path.c_str(), flags | O_CLOEXEC, READ_WRITE);
    return fd >= 0;
  }

  int Get() const { return fd; }

 private:
  int fd = -1;
};

// A source that was recognised, or why it was not.
class Source {
 public:
  explicit Source(std::vector<Layout>& cutOffLayouts) : cutOff(cutOffLayouts) { cutOff.clear(); }

  StatusCode Recognise(const std::string& path) {
    if (!descriptor.Open(path, O_RDONLY | O_NONBLOCK)) {  // do not wait for the writer of a pipe
      return Fail(StatusCode::CannotOpen, "Cannot open '" + path + "': " + ErrorText());
    }
    if (fstat64(descriptor.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
      return Fail(StatusCode::InvalidArgument, "'" + path + "' is no regular file");
    }
    const std::string problem =
        RecogniseLayout(descriptor.Get(), static_cast<std::uint64_t>(status.st_size), file, cutOff);
    return problem.empty() ? StatusCode::Success : Fail(StatusCode::InvalidArgument, problem);
  }

  StatusCode Check(Layout target) {
    if (!IsTarget(GetMachine(target))) {
      return Fail(StatusCode::InvalidArgument,
                  std::string("Files are not converted to ") + GetLayoutName(target));
    }
    if (file.layout == target && file.unusedSize == 0) {
      return Fail(StatusCode::NothingToDo,
                  std::string("RRD file is already in the layout ") + GetLayoutName(target));
    }
    LayoutRewriter rewriter(descriptor.Get(), file, target);
    return Take(rewriter.CheckHeader(), rewriter);
  }

  StatusCode Write(const std::string& path, Layout target) {
    if (IsItself(path)) {
      return Fail(StatusCode::InvalidArgument, "'" + path + "' is the source itself");
    }
    Descriptor destination;
    if (!destination.Open(path, O_WRONLY | O_CREAT | O_TRUNC)) {
      return Fail(StatusCode::IoError, "Cannot open " + path + ": " + ErrorText());
    }
    FileWriter writer(destination.Get());
    LayoutRewriter rewriter(descriptor.Get(), file, target);
    const StatusCode rc = Take(rewriter.WriteTo(writer), rewriter);
    if (rc == StatusCode::IoError) {
      return Fail(rc, "Cannot write in " + path + ": " + reason);
    }
    if (rc == StatusCode::Success && fsync(destination.Get()) != 0) {
      return Fail(StatusCode::IoError, "Failed to sync output file " + path + ": " + ErrorText());
    }
    return rc;
  }

  const RecognisedFile& GetFile() const { return file; }
  const std::string& GetReason() const { return reason; }

 private:
  bool IsItself(const std::string& path) const {
    struct stat64 named {};
    return stat64(path.c_str(), &named) == 0 && named.st_dev == status.st_dev &&
           named.st_ino == status.st_ino;
  }

  StatusCode Take(StatusCode rc, const LayoutRewriter& rewriter) {
    reason = rewriter.GetReason();
    return rc;
  }

  StatusCode Fail(StatusCode rc, const std::string& text) {
    reason = text;
    return rc;
  }

  Descriptor descriptor;
  struct stat64 status {};
  RecognisedFile file;
  std::vector<Layout>& cutOff;
  std::string reason;
};

}  // namespace

StatusCode LayoutConverter::Recognise(const std::string& path, RecognisedFile& file) try {
  Source opened(cutOff);
  const StatusCode rc = opened.Recognise(path);
  if (rc == StatusCode::Success) {
    file = opened.GetFile();
  }
  return Report("Recognise", rc, opened.GetReason());
} catch (const std::bad_alloc&) {
  return Report("Recognise", StatusCode::OutOfMemory, "Out of memory");
}

StatusCode LayoutConverter::Check(const std::string& source, Layout target) try {
  Source opened(cutOff);
  StatusCode rc = opened.Recognise(source);
  if (rc == StatusCode::Success) {
    rc = opened.Check(target);
  }
  return Report("Check", rc, opened.GetReason());
} catch (const std::bad_alloc&) {
  return Report("Check", StatusCode::OutOfMemory, "Out of memory");
}

StatusCode LayoutConverter::Convert(const std::string& source, const std::string& destination,
                                    Layout target) try {
  Source opened(cutOff);
  StatusCode rc = opened.Recognise(source);
  if (rc == StatusCode::Success) {
    rc = opened.Check(target);
  }
  if (rc == StatusCode::Success) {
    rc = opened.Write(destination, target);
  }
  return Report("Convert", rc, opened.GetReason());
} catch (const std::bad_alloc&) {
  return Report("Convert", StatusCode::OutOfMemory, "Out of memory");
}

StatusCode LayoutConverter::Report(const char* operation, StatusCode status,
                                   const std::string& text) {
  reason = text;
  if (status != StatusCode::Success) {
    NVX_FAILURE_IN(operation, "%s", reason.c_str());
  }
  return status;
}

}  // namespace nvx::TimeSeriesDatabase::Rrd::Tool
