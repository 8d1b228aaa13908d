# How this project's targets are made: one static library per folder, one test program per folder.

set(ZARN_WARNINGS
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2 -Wundef -Wunused
    -Wimplicit-fallthrough -Wextra-semi)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  list(APPEND ZARN_WARNINGS -Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wuseless-cast)
else()
  list(APPEND ZARN_WARNINGS -Wreserved-identifier)
endif()

# zarn_flags(target [UNCOUNTED]): the flags shared by all targets of the project. UNCOUNTED: how often its own code runs is
# of no interest.
function(zarn_flags target)
  target_compile_options(${target} PRIVATE $<$<COMPILE_LANGUAGE:CXX>:${ZARN_WARNINGS}>)
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
  zarn_fortify(${target})
  if(ZARN_SANITIZE)
    # Instrumented code makes the compiler suspect the regular expressions of its own library. And
    # the JSON library's headers add an offset to a null pointer where nothing is read: not our finding.
    target_compile_options(${target} PRIVATE -fsanitize=${ZARN_SANITIZE} -fno-sanitize=pointer-overflow
                                             -fno-sanitize-recover=all -fno-omit-frame-pointer -O1 -g1
                                             $<$<COMPILE_LANGUAGE:CXX>:-Wno-maybe-uninitialized>)
    target_link_options(${target} PUBLIC -fsanitize=${ZARN_SANITIZE})
  endif()
  if(ZARN_COVERAGE)
    # With -pthread the compiler makes counting safe in threads; to ask for that by name would keep a compiler cache from
    # these files.
    if(NOT "UNCOUNTED" IN_LIST ARGN)
      target_compile_options(${target} PRIVATE --coverage -pthread)
    endif()
    target_link_options(${target} PUBLIC --coverage)
  endif()
  if(ZARN_FUZZ)
    target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link,address,undefined
                                             -fno-sanitize=pointer-overflow
                                             -fno-sanitize-recover=undefined)
    target_link_options(${target} PUBLIC -fsanitize=address,undefined)
  endif()
endfunction()

# zarn_library(name SOURCES file... [LINKS target...])
function(zarn_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  zarn_flags(${name})
  target_link_libraries(${name} PUBLIC ${ARG_LINKS})
endfunction()

# zarn_test_paths(file...)
# Gives ZARN_SOURCE_DIR, ZARN_BUILD_DIR and ZARN_EMULATOR (what starts a built program of another processor) to the
# files that use them, and only to those, so that a compiler cache can share the others between checkouts.
function(zarn_test_paths)
  string(REPLACE ";" " " emulator "${CMAKE_CROSSCOMPILING_EMULATOR}")
  foreach(file ${ARGN})
    file(STRINGS ${file} uses REGEX "ZARN_(SOURCE_DIR|BUILD_DIR|EMULATOR)")
    if(uses)
      set_source_files_properties(${file} PROPERTIES COMPILE_DEFINITIONS
        "ZARN_SOURCE_DIR=\"${PROJECT_SOURCE_DIR}\";ZARN_BUILD_DIR=\"${PROJECT_BINARY_DIR}\";ZARN_EMULATOR=\"${emulator}\"")
    endif()
  endforeach()
endfunction()

# All test programs with the label unit, and all with the label threads. The virtual board's own are unit tests where this
# machine runs them; in a cross build they have a label of their own.
add_custom_target(unit_tests)
set(zarn_board_label unit)
if(CMAKE_CROSSCOMPILING)
  set(zarn_board_label board)
endif()
add_custom_target(threaded_tests)

# zarn_test(name SOURCES file... [LINKS target...] [LABELS label...] [THREADED])
# One GoogleTest program. Each of its cases is a test of ctest; with ZARN_TEST_SHARDS, for builds in which the start of a
# process is dear, each of so many parts of the program is one. Label: unit unless given; a part has the label threads too
# if it is THREADED, which says that what it tests has threads of its own. Programs of which a case takes the ProgramLock run
# one at a time and are begun first, since they wait for most of their time: else all processors could be given to cases that
# wait for each other.
function(zarn_test name)
  cmake_parse_arguments(ARG "THREADED" "" "SOURCES;LINKS;LABELS" ${ARGN})
  zarn_test_paths(${ARG_SOURCES})
  zarn_merge(merged ${name} ${ARG_SOURCES})
  add_executable(${name} ${merged})
  zarn_flags(${name} UNCOUNTED)
  # Tests are built for the speed of building them; what they test keeps the preset's flags.
  target_compile_options(${name} PRIVATE $<$<CONFIG:RelWithDebInfo>:-O0;-g0>)
  if(ZARN_SANITIZE)
    # A check at each call of a member takes a third of the time to build a test. A null or stray pointer in its own code
    # shows without.
    target_compile_options(${name} PRIVATE -O0 -fno-sanitize=null,alignment,object-size,vptr)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_LINKS} GTest::gmock_main)
  if(NOT ARG_LABELS)
    set(ARG_LABELS unit)
  endif()
  if("unit" IN_LIST ARG_LABELS)
    add_dependencies(unit_tests ${name})
  endif()
  set(locked "")
  foreach(file ${ARG_SOURCES})
    file(STRINGS ${file} uses REGEX "^#include .*/program_lock.h")
    if(uses)
      set(locked RESOURCE_LOCK board_programs COST 1000)
    endif()
  endforeach()
  if(NOT ZARN_TEST_SHARDS)
    # Their names as GoogleTest knows them: values as it prints them would bring addresses into them.
    gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600 LABELS ${ARG_LABELS} ${locked})
    return()
  endif()
  if(ARG_THREADED)
    list(APPEND ARG_LABELS threads)
    add_dependencies(threaded_tests ${name})
  endif()
  zarn_test_shards(${name} "${ARG_LABELS}" ${locked})
endfunction()

# zarn_merge(result name file...): the sources to compile for these of a test program. Most of the time goes into
# GoogleTest's headers and templates, so up to 8 are compiled as one; those that have definitions of their own stay alone.
function(zarn_merge result name)
  if(NOT ZARN_MERGED_TESTS)
    set(${result} ${ARGN} PARENT_SCOPE)
    return()
  endif()
  set(alone "")
  set(together "")
  foreach(file ${ARGN})
    get_source_file_property(definitions ${file} COMPILE_DEFINITIONS)
    if(definitions)
      list(APPEND alone ${file})
    else()
      get_filename_component(path ${file} ABSOLUTE)
      list(APPEND together ${path})
    endif()
  endforeach()
  set(part 0)
  while(together)
    list(SUBLIST together 0 8 batch)
    list(REMOVE_ITEM together ${batch})
    set(output ${CMAKE_CURRENT_BINARY_DIR}/${name}.merged_${part}.cpp)
    add_custom_command(OUTPUT ${output} DEPENDS ${batch} ${PROJECT_SOURCE_DIR}/cmake/merge_tests.py
      COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/cmake/merge_tests.py ${output} ${PROJECT_SOURCE_DIR} ${batch})
    list(APPEND alone ${output})
    math(EXPR part "${part} + 1")
  endwhile()
  set(${result} ${alone} PARENT_SCOPE)
endfunction()

# zarn_test_shards(name labels [property value]...): the program's cases in ZARN_TEST_SHARDS processes, <name>.1 and so on,
# those of system tests in twice as many. Each leaves its report in test_results/.
function(zarn_test_shards name labels)
  set(shards ${ZARN_TEST_SHARDS})
  if("system" IN_LIST labels)
    math(EXPR shards "2 * ${shards}")
  endif()
  foreach(shard RANGE 1 ${shards})
    math(EXPR index "${shard} - 1")
    add_test(NAME ${name}.${shard}
             COMMAND ${name} --gtest_brief=1 --gtest_output=xml:${PROJECT_BINARY_DIR}/test_results/${name}.${shard}.xml)
    set_tests_properties(${name}.${shard} PROPERTIES TIMEOUT 1800 LABELS "${labels}" ${ARGN}
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${shards};GTEST_SHARD_INDEX=${index}")
  endforeach()
endfunction()
