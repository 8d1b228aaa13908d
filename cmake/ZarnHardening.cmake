# What every program and library of the project is built with beyond its preset: checks of its memory, and bytes that do
# not depend on where the checkout lies.

# All symbols are bound at the start, and what they were bound by is read-only from then on. The build's id is asked
# for by name since only Debian's own compilers add it unasked.
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:--build-id=sha1)

# No path of the checkout stands in debug information, on which the build's id depends. A compiler cache hands the
# compiler paths relative to the build folder. Of several maps that fit, the compiler takes the last. Counters of coverage
# need the files' own names: those of the build folder and of the checkout have no folder in common under the mapped ones.
if(NOT ZARN_COVERAGE)
  file(RELATIVE_PATH source_from_build ${PROJECT_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  string(REGEX REPLACE "/$" "" source_from_build "${source_from_build}")
  add_compile_options(-ffile-prefix-map=${source_from_build}=. -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
                      -ffile-prefix-map=${PROJECT_BINARY_DIR}/=)
endif()

# zarn_fortify(target): lengths given to the C library are checked where the compiler knows the buffer's size. Only
# optimised code can be checked; the sanitizers check more, and do not see through the checking calls.
function(zarn_fortify target)
  if(NOT ZARN_SANITIZE AND NOT ZARN_FUZZ)
    target_compile_definitions(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:_FORTIFY_SOURCE=2>)
  endif()
endfunction()
