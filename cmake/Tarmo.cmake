# Shared settings for the project's own targets.

# tarmo_defaults(target): warnings as errors and the optional sanitizers or fuzzing instrumentation.
# Undefined behaviour aborts instead of printing and going on, so a test that meets it fails.
function(tarmo_defaults target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Werror)
  if(TARMO_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined -fno-sanitize-recover=undefined)
  endif()
  if(TARMO_FUZZ)
    target_compile_options(${target} PRIVATE
      -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()

# tarmo_fuzzer(name SOURCES... LIBS ...): a libFuzzer binary, configured only with TARMO_FUZZ (clang).
# Not a test: scripts/fuzz runs each one for a while.
function(tarmo_fuzzer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  if(NOT TARMO_FUZZ)
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBS})
  tarmo_defaults(${name})
  target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()

# tarmo_library(name SOURCES... [LIBS ...]): one static library per subsystem folder.
function(tarmo_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_LIBS})
  tarmo_defaults(${name})
endfunction()

# tarmo_test(name [GUI] SOURCES... LIBS ...): one GoogleTest binary, one CTest entry, run offscreen.
# The test main isolates the settings and data folders in a temporary folder; GUI tests get a
# QApplication, the others a QCoreApplication.
function(tarmo_test name)
  cmake_parse_arguments(ARG "GUI" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  if(ARG_GUI)
    target_link_libraries(${name} PRIVATE tarmo_testmain_gui)
  else()
    target_link_libraries(${name} PRIVATE tarmo_testmain)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LIBS} tarmo_testsupport GTest::gtest)
  tarmo_defaults(${name})
  add_test(NAME ${name} COMMAND ${name})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 300)
  endif()
  if(TARMO_SANITIZE)
    # The instrumented code runs a few times slower.
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * 3")
  endif()
  set_tests_properties(${name} PROPERTIES
    TIMEOUT ${ARG_TIMEOUT}
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;TARMO_TEST=1")
endfunction()
