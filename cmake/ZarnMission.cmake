# How a mission's folder joins the program: one call in its CMakeLists.txt, and nothing else to edit.
#
# zarn_mission(HEADERS file...             those of the mission classes; factory_tables.cpp sees them
#              SOURCES file...
#              TESTS file...               below tests/unit/<this folder>/
#              FUZZ_TARGETS name...        fuzz/<name>_fuzz.cpp, with fuzz/corpus/<name>/
#              BENCHMARK file...           below benchmarks/: one program, named after the first file
#              [SYSTEM_TESTS file...]      below tests/system/; they run the built program, *_board_test.cpp on the board
#              [USES folder...])           other missions' folders that the job demands (docs/architecture.md lists them)
#
# The tests of a mission whose sources name threads, locks or atomics run under the thread sanitizer too.
#
# The library is named after the folder: collectors/system/cpu gives zarn_collectors_system_cpu. Tests, fuzz targets and
# benchmarks are made where the like of them are made, after all missions.
function(zarn_mission)
  cmake_parse_arguments(ARG "" "" "HEADERS;SOURCES;TESTS;FUZZ_TARGETS;BENCHMARK;SYSTEM_TESTS;USES" ${ARGN})
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "zarn_mission: ${ARG_UNPARSED_ARGUMENTS}?")
  endif()
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  zarn_folder_target(target ${folder})
  zarn_library(${target} SOURCES ${ARG_SOURCES} LINKS zarn_kit zarn_platform)
  foreach(used ${ARG_USES})
    zarn_folder_target(other ${used})
    target_link_libraries(${target} PUBLIC ${other})
  endforeach()
  set(headers ${ARG_HEADERS})
  list(TRANSFORM headers PREPEND ${folder}/)
  set_property(GLOBAL APPEND PROPERTY ZARN_MISSION_HEADERS ${headers})
  set_property(GLOBAL APPEND PROPERTY ZARN_MISSION_TARGETS ${target})
  set_target_properties(${target} PROPERTIES
    ZARN_FOLDER "${folder}" ZARN_TESTS "${ARG_TESTS}" ZARN_FUZZ_TARGETS "${ARG_FUZZ_TARGETS}"
    ZARN_BENCHMARK "${ARG_BENCHMARK}" ZARN_SYSTEM_TESTS "${ARG_SYSTEM_TESTS}")
  foreach(file ${ARG_HEADERS} ${ARG_SOURCES})
    file(STRINGS ${file} uses REGEX "#include <(thread|mutex|shared_mutex|atomic|future|condition_variable)>")
    if(uses)
      set_target_properties(${target} PROPERTIES ZARN_THREADED THREADED)
    endif()
  endforeach()
endfunction()

# zarn_folder_target(variable folder): the name of the library of that folder.
function(zarn_folder_target variable folder)
  string(REPLACE "/" "_" name ${folder})
  set(${variable} zarn_${name} PARENT_SCOPE)
endfunction()

# zarn_add_missions(stage...): every folder below the stages that holds a CMakeLists.txt.
function(zarn_add_missions)
  foreach(stage ${ARGN})
    file(GLOB lists CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/${stage}/CMakeLists.txt
                                                                     ${PROJECT_SOURCE_DIR}/${stage}/*/CMakeLists.txt)
    foreach(list ${lists})
      get_filename_component(folder ${list} DIRECTORY)
      add_subdirectory(${folder})
    endforeach()
  endforeach()
endfunction()

# zarn_missions_header(file): makes a header that includes those of all missions.
function(zarn_missions_header file)
  get_property(headers GLOBAL PROPERTY ZARN_MISSION_HEADERS)
  list(SORT headers)
  list(TRANSFORM headers REPLACE "(.+)" "#include \"\\1\"")
  list(JOIN headers "\n" text)
  file(CONFIGURE OUTPUT ${file} CONTENT "#pragma once\n\n${text}\n")
endfunction()

# zarn_mission_tests(): a test program for each mission's folder, and one for its system tests.
function(zarn_mission_tests)
  get_property(targets GLOBAL PROPERTY ZARN_MISSION_TARGETS)
  foreach(target ${targets})
    get_target_property(folder ${target} ZARN_FOLDER)
    get_target_property(tests ${target} ZARN_TESTS)
    get_target_property(system_tests ${target} ZARN_SYSTEM_TESTS)
    get_property(threaded TARGET ${target} PROPERTY ZARN_THREADED)
    if(CMAKE_CROSSCOMPILING)
      # The board's launcher and programs are started by this machine's shell.
      list(FILTER system_tests EXCLUDE REGEX "_board_test\\.cpp$")
    endif()
    string(REGEX REPLACE "^zarn_" "" name ${target})
    if(tests)
      list(TRANSFORM tests PREPEND ${PROJECT_SOURCE_DIR}/tests/unit/${folder}/)
      zarn_test(${name}_test SOURCES ${tests} LINKS ${target} zarn_test_support ${threaded})
    endif()
    if(system_tests)
      list(TRANSFORM system_tests PREPEND ${PROJECT_SOURCE_DIR}/tests/system/)
      zarn_test(${name}_system_test SOURCES ${system_tests} LINKS zarn_system_support zarn_foundation LABELS system ${threaded})
      add_dependencies(${name}_system_test zarn)
      if(TARGET zarn-board)
        add_dependencies(${name}_system_test zarn-board)
      endif()
    endif()
  endforeach()
endfunction()

# zarn_mission_fuzz_targets(), zarn_mission_benchmarks(): called where the like of them are made. What several missions
# name is made once, for all of them.
function(zarn_mission_fuzz_targets)
  get_property(targets GLOBAL PROPERTY ZARN_MISSION_TARGETS)
  foreach(target ${targets})
    get_target_property(names ${target} ZARN_FUZZ_TARGETS)
    foreach(name ${names})
      if(NOT TARGET fuzz_${name})
        zarn_fuzz_target(${name})
      endif()
      target_link_libraries(fuzz_${name} PRIVATE ${target})
    endforeach()
  endforeach()
endfunction()

function(zarn_mission_benchmarks)
  get_property(targets GLOBAL PROPERTY ZARN_MISSION_TARGETS)
  foreach(target ${targets})
    get_target_property(files ${target} ZARN_BENCHMARK)
    if(files)
      list(GET files 0 first)
      get_filename_component(name ${first} NAME_WE)
      if(NOT TARGET ${name})
        zarn_benchmark(${name} SOURCES ${files})
      endif()
      target_link_libraries(${name} PRIVATE ${target})
    endif()
  endforeach()
endfunction()
