set(METERDB_TRIPLE arm-linux-gnueabihf)
include("${CMAKE_CURRENT_LIST_DIR}/linux.cmake")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/${METERDB_TRIPLE})
