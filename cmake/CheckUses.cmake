# cmake -DTARMO_SRC=<folder> -P CheckUses.cmake
#
# Keeps the folder READMEs true. Every folder of sources under TARMO_SRC (src/<name> and
# src/platform/<name>) has a README.md, and in it one line of the form
#     Uses: platform/common, sql, Qt Widgets
# naming the other folders it may use, by their path under src/; names that are no folder (Qt, SQLite,
# unixODBC, QScintilla, ...) are ignored. Includes are by bare file name, so a quoted include names
# the folder whose header it is. The check fails when a source file includes a header of a folder
# its own folder does not list, and names the file and the header. A listed folder that nothing
# includes is reported without failing: a folder may need another one only at link time.

if(NOT TARMO_SRC)
  message(FATAL_ERROR "CheckUses.cmake: set TARMO_SRC to the source folder")
endif()
get_filename_component(TARMO_SRC "${TARMO_SRC}" ABSOLUTE)

# The folders: every folder with sources or a README directly under src/ or src/platform/.
file(GLOB members "${TARMO_SRC}/*/*.h" "${TARMO_SRC}/*/*.cpp" "${TARMO_SRC}/*/README.md"
     "${TARMO_SRC}/platform/*/*.h" "${TARMO_SRC}/platform/*/*.cpp" "${TARMO_SRC}/platform/*/README.md")
set(folders)
foreach(member ${members})
  get_filename_component(dir "${member}" DIRECTORY)
  file(RELATIVE_PATH folder "${TARMO_SRC}" "${dir}")
  list(APPEND folders "${folder}")
endforeach()
list(REMOVE_DUPLICATES folders)
list(SORT folders)

set(problems)

# Which folder each header lives in. Two headers of one name would make a bare include ambiguous.
foreach(folder ${folders})
  file(GLOB headers RELATIVE "${TARMO_SRC}/${folder}" "${TARMO_SRC}/${folder}/*.h")
  foreach(header ${headers})
    string(MAKE_C_IDENTIFIER "${header}" key)
    if(DEFINED owner_${key})
      list(APPEND problems "${header} is in both src/${owner_${key}} and src/${folder}; includes are by bare name")
    else()
      set(owner_${key} "${folder}")
    endif()
  endforeach()
endforeach()

foreach(folder ${folders})
  set(readme "${TARMO_SRC}/${folder}/README.md")
  if(NOT EXISTS "${readme}")
    list(APPEND problems "src/${folder} has no README.md to say what it holds and uses")
    continue()
  endif()
  file(STRINGS "${readme}" uses_lines REGEX "^Uses:")
  list(LENGTH uses_lines count)
  if(NOT count EQUAL 1)
    list(APPEND problems "src/${folder}/README.md has ${count} lines starting with \"Uses:\", not one")
    continue()
  endif()
  string(REGEX REPLACE "^Uses:[ \t]*" "" uses "${uses_lines}")
  string(REGEX REPLACE "\\.[ \t]*$" "" uses "${uses}")
  string(REPLACE "," ";" uses "${uses}")
  set(allowed)
  foreach(entry ${uses})
    string(STRIP "${entry}" entry)
    list(FIND folders "${entry}" index)
    if(NOT index EQUAL -1)
      list(APPEND allowed "${entry}")
    endif()
  endforeach()

  set(used)
  file(GLOB sources "${TARMO_SRC}/${folder}/*.h" "${TARMO_SRC}/${folder}/*.cpp")
  list(SORT sources)
  foreach(source ${sources})
    file(STRINGS "${source}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
    get_filename_component(source_name "${source}" NAME)
    foreach(line ${includes})
      string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]*)\".*$" "\\1" included "${line}")
      get_filename_component(header "${included}" NAME)
      string(MAKE_C_IDENTIFIER "${header}" key)
      if(NOT DEFINED owner_${key})
        continue()
      endif()
      set(owner "${owner_${key}}")
      if(owner STREQUAL folder)
        continue()
      endif()
      list(APPEND used "${owner}")
      list(FIND allowed "${owner}" index)
      if(index EQUAL -1)
        list(APPEND problems
             "src/${folder}/${source_name} includes ${header} from src/${owner}, which the Uses line of src/${folder}/README.md does not list")
      endif()
    endforeach()
  endforeach()

  foreach(entry ${allowed})
    list(FIND used "${entry}" index)
    if(index EQUAL -1)
      message(STATUS "note: src/${folder}/README.md lists ${entry}, whose headers none of its files include")
    endif()
  endforeach()
endforeach()

if(problems)
  list(LENGTH problems count)
  string(REPLACE ";" "\n  " text "${problems}")
  message(FATAL_ERROR "${count} layer problem(s):\n  ${text}")
endif()
list(LENGTH folders count)
message(STATUS "Uses lines hold for ${count} folders")
