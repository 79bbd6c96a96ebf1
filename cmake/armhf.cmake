# For 32-bit ARM, hard float, with Debian's cross compiler and the libraries of its packages for armhf.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# A 64-bit time_t, which compilers before Debian 13 do not have by default.
set(CMAKE_CXX_FLAGS_INIT "-D_FILE_OFFSET_BITS=64 -D_TIME_BITS=64")
# Programs for ARM run where qemu-user is installed.
find_program(QEMU_ARM NAMES qemu-arm qemu-arm-static)
if(QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${QEMU_ARM}")
endif()
