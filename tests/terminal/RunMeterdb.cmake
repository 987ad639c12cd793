# Runs the built program on a copy of the sample installation, as a person would, and looks at exit codes, output and files.
#   METERDB   the program        SAMPLES  the samples
#   FOLDER    where to copy to   EMULATOR what runs the program when it is built for another system

file(REMOVE_RECURSE "${FOLDER}")
file(COPY "${SAMPLES}/installation/" DESTINATION "${FOLDER}")
unset(ENV{METERDB_INI})
unset(ENV{METERDB_USER})
unset(ENV{METERDB_LEVEL})
set(ENV{METERDB_DIR} "${FOLDER}")

# Runs meterdb with the arguments behind `expected`, its exit code; what it wrote is in `output` and `errors`.
function(meterdb expected)
  execute_process(COMMAND ${EMULATOR} "${METERDB}" ${ARGN}
    RESULT_VARIABLE code OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT code STREQUAL expected)
    message(FATAL_ERROR "meterdb ${ARGN}: exit code ${code}, not ${expected}\n${out}\n${err}")
  endif()
  set(output "${out}" PARENT_SCOPE)
  set(errors "${err}" PARENT_SCOPE)
endfunction()

function(expect text pattern)
  if(NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "\"${pattern}\" is not in:\n${text}")
  endif()
endfunction()

meterdb(0 --version)
expect("${output}" "^meterdb [0-9]+\\.[0-9]+\\.[0-9]+")

meterdb(0 route)
expect("${output}" " 3  30052217  Gas .* to do +read")

file(SHA256 "${FOLDER}/data/route.ini" before)
meterdb(1 read 1 "${SAMPLES}/readouts/cut-off.txt")
expect("${errors}" "cut off")
meterdb(1 read 1 "${SAMPLES}/readouts/damaged-check-character.txt")
expect("${errors}" "block check character is wrong")
meterdb(1 read 4711 "${SAMPLES}/readouts/gas.txt")
meterdb(2)
meterdb(2 read 3)
meterdb(3 --dir "${FOLDER}/nowhere" route)
meterdb(3 read 3 "${FOLDER}/nowhere.txt")
file(SHA256 "${FOLDER}/data/route.ini" after)
if(NOT before STREQUAL after)
  message(FATAL_ERROR "a refused command changed the data file")
endif()

set(ENV{METERDB_USER} reader42)
meterdb(0 read 30052217 "${SAMPLES}/readouts/gas-alarm.txt")
expect("${output}" "ALARM")
file(READ "${FOLDER}/data/route.ini" route)
expect("${route}" "3\\.0\\.0=RDV,CR,\"8\\.2 m3,[^\r\n]*\",004518\\.27,")
expect("${route}" "UserID=A,D,,reader42,")
meterdb(0 route)
expect("${output}" " 3  30052217  Gas .* done +read")

meterdb(0 commands 6)
expect("${output}" " 211  show load curve")
set(ENV{METERDB_LEVEL} 1)
meterdb(0 commands 6)
expect("${output}" "7 commands at access level 1")
meterdb(0 run 6 203)
expect("${output}" "Func8=,DR,,203,")
