# The Debian packages: zarn, the program with its manual and examples, and zarn-board, the virtual board with the
# simulated device libraries apart from it. On the real board its own libraries take their place.
include(GNUInstallDirs)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zarn)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGE_VENDOR "the zarn developers")
set(CPACK_PACKAGE_CONTACT "the zarn developers <zarn@users.noreply.example>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL zarn zarn-board)
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

set(CPACK_DEBIAN_ZARN_PACKAGE_NAME zarn)
set(CPACK_DEBIAN_ZARN_PACKAGE_DEPENDS "libc6 (>= 2.36), libgcc-s1, libstdc++6 (>= 12), procps")
set(CPACK_DEBIAN_ZARN_PACKAGE_SUGGESTS "zarn-board")
set(CPACK_DEBIAN_ZARN_DESCRIPTION "performance tool of an automotive computing board
A single-shot tool driven by one JSON file: collectors measure the running
system, analyzers turn raw data into peaks, averages and abnormal events,
comparators set software versions side by side, and an optimizer searches
DDR bandwidth settings. Results are raw text, JSON lines and CSV.")
set(CPACK_DEBIAN_ZARN-BOARD_PACKAGE_NAME zarn-board)
set(CPACK_DEBIAN_ZARN-BOARD_PACKAGE_DEPENDS
    "libc6 (>= 2.36), libgcc-s1, libstdc++6 (>= 12), proot, procps")
set(CPACK_DEBIAN_ZARN-BOARD_DESCRIPTION "virtual board for zarn
Simulated device libraries, kernel files and platform tools with a launcher
that puts them where they stand on the real board, so that every mission of
zarn runs on a plain Linux machine without root.")

# The files that Debian's policy wants beside a package's own.
foreach(package zarn zarn-board)
  install(FILES packaging/copyright DESTINATION share/doc/${package} COMPONENT ${package})
  install(CODE "
    execute_process(COMMAND gzip -9nc \"${PROJECT_SOURCE_DIR}/packaging/changelog\"
                    OUTPUT_FILE \"${CMAKE_BINARY_DIR}/changelog.gz\" COMMAND_ERROR_IS_FATAL ANY)
    file(INSTALL \"${CMAKE_BINARY_DIR}/changelog.gz\"
         DESTINATION \"\${CMAKE_INSTALL_PREFIX}/share/doc/${package}\"
         PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)" COMPONENT ${package})
endforeach()
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
        FILES_MATCHING PATTERN "*.md" PATTERN "*.json" PATTERN man EXCLUDE)

include(CPack)
