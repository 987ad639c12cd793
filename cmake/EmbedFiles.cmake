# Writes the source SOURCE that holds files as they are: the files FILES of the directory FOLDER, which the function
# FUNCTION of terminal/Embedded.h hands out.
set(arrays "")
set(entries "")
set(number 0)
foreach(name IN LISTS FILES)
  file(READ "${FOLDER}/${name}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  string(APPEND arrays "constexpr char k${number}[] = {${bytes}};\n")
  string(APPEND entries "        {\"${name}\", {k${number}, sizeof k${number}}},\n")
  math(EXPR number "${number} + 1")
endforeach()
file(WRITE "${SOURCE}" "#include \"terminal/Embedded.h\"

namespace {
${arrays}}  // namespace

const std::vector<EmbeddedFile>& ${FUNCTION}() {
    static const std::vector<EmbeddedFile> files = {
${entries}    };
    return files;
}
")
