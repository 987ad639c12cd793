# What every target of the project is compiled with.

add_library(meterdb_options INTERFACE)
target_compile_options(meterdb_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor
  $<$<BOOL:${METERDB_WARNINGS_AS_ERRORS}>:-Werror>)
# Files above 2 GiB and times after 2038 also where the system's own types are 32 bits.
target_compile_definitions(meterdb_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_include_directories(meterdb_options INTERFACE "${PROJECT_SOURCE_DIR}")
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

# Names and versions a shared library, and shows nothing of it but the public class. The compiler hides most; what the
# standard library puts into the objects is hidden here.
function(meterdb_library library)
  set_target_properties(${library} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(WIN32)
    set_target_properties(${library} PROPERTIES PREFIX "")
  endif()
  if(UNIX AND NOT APPLE)
    set(map "${PROJECT_SOURCE_DIR}/cmake/exports/${library}.map")
    target_link_options(${library} PRIVATE "-Wl,--version-script=${map}")
    set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS "${map}")
  endif()
endfunction()
