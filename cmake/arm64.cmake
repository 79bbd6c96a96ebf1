# For 64-bit ARM, with Debian's cross compiler and the libraries of its packages for arm64.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Programs for ARM run where qemu-user is installed.
find_program(QEMU_AARCH64 NAMES qemu-aarch64 qemu-aarch64-static)
if(QEMU_AARCH64)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${QEMU_AARCH64}")
endif()
