# What all compilers for other systems have in common: libraries are looked for below build/ alone, never among those of the
# system that builds.
string(REGEX MATCH "^[^-]+" CMAKE_SYSTEM_PROCESSOR "${METERDB_TRIPLE}")
get_filename_component(CMAKE_FIND_ROOT_PATH "${CMAKE_CURRENT_LIST_DIR}/../../build" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
