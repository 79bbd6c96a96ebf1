#include "files/conversion/early_writeback.h"

#include <fcntl.h>

#include <chrono>
#include <system_error>

namespace nvx::TimeSeriesDatabase::CommandLine {

EarlyWriteback::EarlyWriteback(int fd) {
  try {
    thread = std::thread([this, fd] { Run(fd); });
  } catch (const std::system_error&) {
    // A machine that has no thread to spare syncs all of the file at its end.
  }
}

EarlyWriteback::~EarlyWriteback() {
  if (!thread.joinable()) {
    return;
  }
  {
    const std::lock_guard<std::mutex> lock(mutex);
    isEnded = true;
  }
  condition.notify_one();
  thread.join();
}

void EarlyWriteback::Run(int fd) {
  constexpr auto PERIOD = std::chrono::milliseconds(2);
  std::unique_lock<std::mutex> lock(mutex);
  while (!condition.wait_for(lock, PERIOD, [this] { return isEnded; })) {
    lock.unlock();
    sync_file_range(fd, 0, 0, SYNC_FILE_RANGE_WRITE);  // starts and does not wait
    lock.lock();
  }
}

}  // namespace nvx::TimeSeriesDatabase::CommandLine
