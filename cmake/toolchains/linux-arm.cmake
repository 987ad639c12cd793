set(METERDB_TRIPLE arm-linux-gnueabihf)
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)  # without notes about compilers of old
include("${CMAKE_CURRENT_LIST_DIR}/linux.cmake")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/${METERDB_TRIPLE})
