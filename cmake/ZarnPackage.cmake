# The Debian packages: zarn, the program with its manual and examples; zarn-board-libs, the simulated device libraries
# without which it does not start; and zarn-board, the virtual board, which needs both. On the real board a package of
# the board's own libraries provides zarn-platform-libs instead.
include(GNUInstallDirs)

set(packages zarn)
set(ZARN_LIBRARIES "zarn-platform-libs")
if(ZARN_PLATFORM STREQUAL "simulated")
  list(APPEND packages zarn-board-libs zarn-board)
  set(ZARN_LIBRARIES "zarn-board-libs (= ${PROJECT_VERSION}) | zarn-platform-libs")
endif()

set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON) # packing builds no tests
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zarn)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_VENDOR "the zarn developers")
set(CPACK_PACKAGE_CONTACT "the zarn developers <zarn@users.noreply.example>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${packages})
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
  set(CPACK_OBJCOPY_EXECUTABLE aarch64-linux-gnu-objcopy)
  set(CPACK_STRIP_EXECUTABLE aarch64-linux-gnu-strip)
endif()

# What the libraries of the system must be is computed from the symbols that the built files use. A cross build has no
# list of the other architecture's symbols to compute it from: scripts/package.sh tells it there.
if(NOT CMAKE_CROSSCOMPILING)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
endif()

set(CPACK_DEBIAN_ZARN_PACKAGE_NAME zarn)
set(CPACK_DEBIAN_ZARN_PACKAGE_DEPENDS "${ZARN_LIBRARIES}, procps")
set(CPACK_DEBIAN_ZARN_PACKAGE_SUGGESTS "zarn-board")
set(CPACK_DEBIAN_ZARN_DESCRIPTION "performance tool of an automotive computing board
A single-shot tool driven by one JSON file: collectors measure the running
system, analyzers turn raw data into peaks, averages and abnormal events,
comparators set software versions side by side, and an optimizer searches
DDR bandwidth settings. Results are raw text, JSON lines and CSV.")
# The simulated libraries stand before the system's on the program's search path, so both at once will not do.
set(CPACK_DEBIAN_ZARN-BOARD-LIBS_PACKAGE_NAME zarn-board-libs)
set(CPACK_DEBIAN_ZARN-BOARD-LIBS_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_ZARN-BOARD-LIBS_PACKAGE_PROVIDES zarn-platform-libs)
set(CPACK_DEBIAN_ZARN-BOARD-LIBS_PACKAGE_CONFLICTS zarn-platform-libs)
set(CPACK_DEBIAN_ZARN-BOARD-LIBS_DESCRIPTION "simulated device libraries for zarn
The libraries of the board's devices as zarn meets them. Without a virtual
board they answer that there is no device; on one they answer from its
memory model.")
set(CPACK_DEBIAN_ZARN-BOARD_PACKAGE_NAME zarn-board)
set(CPACK_DEBIAN_ZARN-BOARD_PACKAGE_DEPENDS
    "zarn (= ${PROJECT_VERSION}), zarn-board-libs (= ${PROJECT_VERSION}), proot")
set(CPACK_DEBIAN_ZARN-BOARD_PACKAGE_RECOMMENDS "linux-perf, strace, valgrind")
set(CPACK_DEBIAN_ZARN-BOARD_DESCRIPTION "virtual board for zarn
Simulated kernel files and platform tools with a launcher that puts them
where they stand on the real board, so that every mission of zarn runs on
a plain Linux machine without root.")

# The files that Debian's policy wants beside a package's own.
foreach(package ${packages})
  install(FILES packaging/copyright DESTINATION share/doc/${package} COMPONENT ${package})
  install(CODE "
    execute_process(COMMAND gzip -9nc \"${PROJECT_SOURCE_DIR}/packaging/changelog\"
                    OUTPUT_FILE \"${CMAKE_BINARY_DIR}/changelog.gz\" COMMAND_ERROR_IS_FATAL ANY)
    file(INSTALL \"${CMAKE_BINARY_DIR}/changelog.gz\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/doc/${package}\"
         PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)" COMPONENT ${package})
endforeach()
install(FILES packaging/zarn-board.lintian-overrides DESTINATION share/lintian/overrides RENAME zarn-board
        COMPONENT zarn-board)
# zarn_manual(package page...): pages are compressed when the package is made.
function(zarn_manual package)
  foreach(page ${ARGN})
    string(REGEX REPLACE ".*\\." "" section ${page})
    install(CODE "
      execute_process(COMMAND gzip -9nc \"${PROJECT_SOURCE_DIR}/docs/man/${page}\"
                      OUTPUT_FILE \"${CMAKE_BINARY_DIR}/${page}.gz\" COMMAND_ERROR_IS_FATAL ANY)
      file(INSTALL \"${CMAKE_BINARY_DIR}/${page}.gz\"
           DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/man/man${section}\"
           PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)" COMPONENT ${package})
  endforeach()
endfunction()
zarn_manual(zarn zarn.1 zarn-config.5)
zarn_manual(zarn-board zarn-board.1 zarn-board-server.1 zarn-board-optimum.1)
install(TARGETS zarn RUNTIME DESTINATION bin COMPONENT zarn)
# All pages, since they point to each other, with the missions' pages and the examples in their folders.
install(DIRECTORY docs/ DESTINATION share/doc/zarn COMPONENT zarn
        FILES_MATCHING PATTERN "*.md" PATTERN "*.json" PATTERN man EXCLUDE PATTERN images EXCLUDE)
# Bash completes the arguments of a command by the file of its name.
set(completions ${PROJECT_SOURCE_DIR}/packaging/completions)
install(FILES ${completions}/zarn DESTINATION share/bash-completion/completions COMPONENT zarn)
install(FILES ${completions}/zarn-board ${completions}/zarn-board-server
        DESTINATION share/bash-completion/completions COMPONENT zarn-board)
if(TARGET zarn-report)
  zarn_manual(zarn zarn-report.1)
  install(FILES ${completions}/zarn-report DESTINATION share/bash-completion/completions COMPONENT zarn)
endif()

include(CPack)
