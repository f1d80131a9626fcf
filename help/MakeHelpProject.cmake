# cmake -DPAGES=<pages folder> -DSTAGE=<output folder> -DTOPICS=<topic table header> -P MakeHelpProject.cmake
#
# Copies the manual's pages into STAGE and writes the Qt Help project that lists them (TarmoHelp.qhp)
# and the collection project around it (TarmoHelp.qhcp). Nothing in here names a page: the files
# are every page, picture and style sheet found; the keywords are each page's title and each heading
# with an id; the contents follow the links of the contents page, Manual.htm, with each page's
# headings below it, and pages it doesn't link come last. A page of the topic table that isn't
# there stops the build.

set(START_PAGE Manual.htm)

# XHTML text is already XML text; only what may not stand in an attribute is left to escape.
function(xml_attribute out text)
  string(REGEX REPLACE "<[^>]*>" "" text "${text}")
  string(REPLACE "&nbsp;" "&#160;" text "${text}")
  string(REPLACE "\"" "&quot;" text "${text}")
  string(REGEX REPLACE "[ \t\r\n]+" " " text "${text}")
  string(STRIP "${text}" text)
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# The page's title, and its headings with an id as "id" and "text" lists of the same length.
function(read_page page)
  file(READ "${PAGES}/${page}" html)
  string(REGEX MATCH "<title>([^<]*)</title>" found "${html}")
  set(title "${CMAKE_MATCH_1}")
  if(title STREQUAL "")
    message(FATAL_ERROR "help page ${page} has no <title>")
  endif()
  xml_attribute(title "${title}")
  set(PAGE_TITLE "${title}" PARENT_SCOPE)
  set(ids "")
  set(texts "")
  string(REGEX MATCHALL "<h[1-6][^>]* id=\"[^\"]+\"[^>]*>[^<]*" headings "${html}")
  foreach(heading IN LISTS headings)
    string(REGEX MATCH "id=\"([^\"]+)\"[^>]*>(.*)" found "${heading}")
    xml_attribute(text "${CMAKE_MATCH_2}")
    list(APPEND ids "${CMAKE_MATCH_1}")
    list(APPEND texts "${text}")
  endforeach()
  set(PAGE_IDS "${ids}" PARENT_SCOPE)
  set(PAGE_TEXTS "${texts}" PARENT_SCOPE)
  set(PAGE_HTML "${html}" PARENT_SCOPE)
endfunction()

# --- The topic table: every page must be there; a missing anchor only lands F1 at the page's top.
file(STRINGS "${TOPICS}" rows REGEX "^ *\"[^\"]+\", *// *[0-9]+")
if(NOT rows)
  message(FATAL_ERROR "no topics read from ${TOPICS}")
endif()
foreach(row IN LISTS rows)
  string(REGEX MATCH "\"([^\"#]+)(#([^\"]+))?\", *// *([0-9]+)" found "${row}")
  set(page "${CMAKE_MATCH_1}")
  set(anchor "${CMAKE_MATCH_3}")
  set(id "${CMAKE_MATCH_4}")
  if(NOT EXISTS "${PAGES}/${page}")
    message(FATAL_ERROR "help topic ${id} needs the page ${page}, which is not in ${PAGES}")
  endif()
  if(anchor)
    file(READ "${PAGES}/${page}" html)
    string(FIND "${html}" "id=\"${anchor}\"" at)
    if(at EQUAL -1)
      message(WARNING "help topic ${id}: the page ${page} has no element with the id ${anchor}")
    endif()
  endif()
endforeach()
if(NOT EXISTS "${PAGES}/${START_PAGE}")
  message(FATAL_ERROR "the help's start page ${START_PAGE} is not in ${PAGES}")
endif()

# --- The files.
file(GLOB_RECURSE files RELATIVE "${PAGES}" "${PAGES}/*.htm" "${PAGES}/*.css" "${PAGES}/*.png"
     "${PAGES}/*.jpg" "${PAGES}/*.svg")
list(SORT files)
file(MAKE_DIRECTORY "${STAGE}")
file(COPY "${PAGES}/" DESTINATION "${STAGE}")
set(file_rows "")
set(pages "")
foreach(file IN LISTS files)
  string(APPEND file_rows "      <file>${file}</file>\n")
  if(file MATCHES "\\.htm$")
    list(APPEND pages "${file}")
  endif()
endforeach()

# --- Keywords and the sections of each page.
set(keyword_rows "")
foreach(page IN LISTS pages)
  read_page("${page}")
  string(MAKE_C_IDENTIFIER "${page}" key)
  set(TITLE_${key} "${PAGE_TITLE}")
  string(APPEND keyword_rows "      <keyword name=\"${PAGE_TITLE}\" ref=\"${page}\"/>\n")
  set(SUBSECTIONS_${key} "")
  list(LENGTH PAGE_IDS count)
  if(count GREATER 0)
    math(EXPR last "${count} - 1")
    foreach(i RANGE ${last})
      list(GET PAGE_IDS ${i} id)
      list(GET PAGE_TEXTS ${i} text)
      string(APPEND keyword_rows "      <keyword name=\"${text}\" ref=\"${page}#${id}\"/>\n")
      string(APPEND SUBSECTIONS_${key} "<section title=\"${text}\" ref=\"${page}#${id}\"/>")
    endforeach()
  endif()
endforeach()

# --- The contents, in the order and nesting of the contents page's lists.
set(toc "")
set(depth 0)
set(listed "")
file(READ "${PAGES}/${START_PAGE}" manual)
string(MAKE_C_IDENTIFIER "${START_PAGE}" start_key)
string(APPEND toc "<section title=\"${TITLE_${start_key}}\" ref=\"${START_PAGE}\">")
list(APPEND listed "${START_PAGE}")
set(list_depth 0)
string(REGEX MATCHALL "<ul>|</ul>|<a href=\"[^\"#:]+\\.htm\">[^<]*</a>" tokens "${manual}")
foreach(token IN LISTS tokens)
  if(token STREQUAL "<ul>")
    math(EXPR list_depth "${list_depth} + 1")
  elseif(token STREQUAL "</ul>")
    math(EXPR list_depth "${list_depth} - 1")
  else()
    string(REGEX MATCH "href=\"([^\"]+)\">([^<]*)<" found "${token}")
    set(page "${CMAKE_MATCH_1}")
    xml_attribute(text "${CMAKE_MATCH_2}")
    list(FIND listed "${page}" seen)
    list(FIND pages "${page}" known)
    if(seen EQUAL -1 AND NOT known EQUAL -1 AND list_depth GREATER 0)
      math(EXPR level "${list_depth}")
      while(depth GREATER_EQUAL level)
        string(APPEND toc "</section>")
        math(EXPR depth "${depth} - 1")
      endwhile()
      string(MAKE_C_IDENTIFIER "${page}" key)
      string(APPEND toc "<section title=\"${text}\" ref=\"${page}\">${SUBSECTIONS_${key}}")
      set(depth ${level})
      list(APPEND listed "${page}")
    endif()
  endif()
endforeach()
while(depth GREATER 0)
  string(APPEND toc "</section>")
  math(EXPR depth "${depth} - 1")
endwhile()
foreach(page IN LISTS pages)
  list(FIND listed "${page}" seen)
  if(seen EQUAL -1)
    string(MAKE_C_IDENTIFIER "${page}" key)
    string(APPEND toc "<section title=\"${TITLE_${key}}\" ref=\"${page}\">${SUBSECTIONS_${key}}</section>")
  endif()
endforeach()
string(APPEND toc "</section>")

file(WRITE "${STAGE}/TarmoHelp.qhp" "<?xml version=\"1.0\" encoding=\"UTF-8\"?>
<QtHelpProject version=\"1.0\">
  <namespace>tarmo.manual</namespace>
  <virtualFolder>manual</virtualFolder>
  <filterSection>
    <toc>${toc}</toc>
    <keywords>
${keyword_rows}    </keywords>
    <files>
${file_rows}    </files>
  </filterSection>
</QtHelpProject>
")

file(WRITE "${STAGE}/TarmoHelp.qhcp" "<?xml version=\"1.0\" encoding=\"UTF-8\"?>
<QHelpCollectionProject version=\"1.0\">
  <docFiles>
    <generate>
      <file>
        <input>TarmoHelp.qhp</input>
        <output>TarmoHelp.qch</output>
      </file>
    </generate>
    <register>
      <file>TarmoHelp.qch</file>
    </register>
  </docFiles>
</QHelpCollectionProject>
")
