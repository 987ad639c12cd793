# What every target of the project is compiled with.

add_library(meterdb_options INTERFACE)
target_compile_options(meterdb_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor
  $<$<BOOL:${METERDB_WARNINGS_AS_ERRORS}>:-Werror>)
# Files above 2 GiB and times after 2038 also where the system's own types are 32 bits.
target_compile_definitions(meterdb_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
# Registers are computed in plain double arithmetic, the same on every machine: the old floating-point unit of 32-bit
# x86, which is the compiler's default there, computes with more digits and rounds differently.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "86|AMD64")
  target_compile_options(meterdb_options INTERFACE -msse2 -mfpmath=sse)
endif()
target_include_directories(meterdb_options INTERFACE "${PROJECT_SOURCE_DIR}")
if(MINGW)
  # The compiler's own libraries go into ours, which then need nothing but what every Windows has.
  target_link_options(meterdb_options INTERFACE -static)
endif()
if(METERDB_SANITIZE)
  target_compile_options(meterdb_options INTERFACE
    -fsanitize=${METERDB_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(meterdb_options INTERFACE -fsanitize=${METERDB_SANITIZE})
endif()

# The objects of one library. They go into the shared library and, as they are, into the tests, which reach
# what the shared library hides.
function(meterdb_objects name)
  add_library(${name} OBJECT ${ARGN})
  target_link_libraries(${name} PRIVATE meterdb_options)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()

# Names and versions a shared library, and shows exactly the names that cmake/exports/ lists for it: the operations of its
# public class, as the linker knows them, the same on every processor and system.
function(meterdb_library library)
  set_target_properties(${library} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  set(list "${PROJECT_SOURCE_DIR}/cmake/exports/${library}.txt")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${list}")
  file(STRINGS "${list}" names)
  if(WIN32)
    list(TRANSFORM names REPLACE "^_ZT.*" "\\0 DATA")
    list(JOIN names "\n" exports)
    set(exports "EXPORTS\n${exports}\n")
    set(option "")
  else()
    list(JOIN names ";\n" exports)
    set(exports "{\nglobal:\n${exports};\nlocal: *;\n};\n")
    set(option "-Wl,--version-script=")
  endif()
  set(file "${CMAKE_CURRENT_BINARY_DIR}/${library}.def")
  file(CONFIGURE OUTPUT "${file}" CONTENT "${exports}")
  target_link_options(${library} PRIVATE "${option}${file}")
  set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS "${file}")
  if(WIN32)
    set_target_properties(${library} PROPERTIES PREFIX "")
  endif()
endfunction()
