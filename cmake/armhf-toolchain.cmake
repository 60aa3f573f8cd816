# Cross build for 32-bit ARM hard-float (the television's kind of processor) with Debian's
# cross compiler and armhf libraries; binaries run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf /usr/lib/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)

# libbacktrace (under libutils) needs 7z.so; scripts/bootstrap.sh --armhf unpacks the armhf one here.
set(HBBTV_ARMHF_EXTRA_LIBS "${CMAKE_CURRENT_LIST_DIR}/../build/armhf-sysroot-extra/usr/lib/p7zip")
get_filename_component(HBBTV_ARMHF_EXTRA_LIBS "${HBBTV_ARMHF_EXTRA_LIBS}" ABSOLUTE)

# The emulator runs binaries with the armhf loader of libc6:armhf (which the armhf Android
# libraries pull in), not with "-L /usr/arm-linux-gnueabihf": that cross loader would pick up the
# multiarch libc of another build through the system's library cache and crash at the first thread.
set(CMAKE_CROSSCOMPILING_EMULATOR
    qemu-arm -E LD_LIBRARY_PATH=${HBBTV_ARMHF_EXTRA_LIBS}:/usr/lib/arm-linux-gnueabihf/android)
