# Linux on another processor, with Debian's cross compiler for METERDB_TRIPLE.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${METERDB_TRIPLE}-gcc)
set(CMAKE_CXX_COMPILER ${METERDB_TRIPLE}-g++)
include("${CMAKE_CURRENT_LIST_DIR}/cross.cmake")
