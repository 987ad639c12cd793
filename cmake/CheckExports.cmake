# Fails when a shared library does not show exactly the names of its list.
#   cmake -D NM=... -D OBJDUMP=... -D LIBRARY=... -D LIST=... -P CheckExports.cmake
include("${CMAKE_CURRENT_LIST_DIR}/CompareLists.cmake")
file(STRINGS "${LIST}" listed)
if(LIBRARY MATCHES "\\.dll$")
  execute_process(COMMAND "${OBJDUMP}" -p "${LIBRARY}" OUTPUT_VARIABLE table COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] [^\n+ ]+" lines "${table}")
else()
  execute_process(COMMAND "${NM}" -D --defined-only "${LIBRARY}" OUTPUT_VARIABLE table COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" lines "${table}")
endif()
list(TRANSFORM lines REPLACE ".* " "" OUTPUT_VARIABLE shown)
meterdb_compare_lists("${LIBRARY}" "${shown}" "${listed}")
