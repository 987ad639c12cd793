# Fails when objects call something that is neither theirs nor in the list, or when the list has a name that none calls. What
# the C++ language and its library call on their own behalf does not count.
#   cmake -D NM=... -D "OBJECTS=FIRST,SECOND..." -D LIST=... -P CheckImports.cmake
include("${CMAKE_CURRENT_LIST_DIR}/CompareLists.cmake")
string(REPLACE "," ";" objects "${OBJECTS}")
file(STRINGS "${LIST}" listed REGEX "^[^#]")
execute_process(COMMAND "${NM}" -u ${objects} OUTPUT_VARIABLE table COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL " U [^\n]+" called "${table}")
list(TRANSFORM called REPLACE " U (__imp_)?" "")
if(NM MATCHES "i686")  # calls are decorated: _name@12
  list(TRANSFORM called REPLACE "^_([^@]+)(@[0-9]+)?$" "\\1")
endif()
list(REMOVE_DUPLICATES called)
list(FILTER called EXCLUDE REGEX "^(_Z|__cxa_|__gxx_personality|_?_Unwind_|_*chkstk_ms$|__u?(div|mod)di3$|pthread_(mutex_|self$)|atexit$)")
meterdb_compare_lists("calls of the system" "${called}" "${listed}")
