# Where `cmake --install` puts what a program needs to run (runtime) and what it needs to be built (development).
include(CMakePackageConfigHelpers)

install(TARGETS orvel_framework EXPORT orvel_framework
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)

# Headers in internal/ are nobody's interface: of them only those go along that public headers include, directly or not.
install(DIRECTORY framework DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h" PATTERN internal EXCLUDE)
file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} framework/*.h)
list(FILTER headers EXCLUDE REGEX "/internal/")
set(included_internal_headers)
while(headers)
  list(POP_FRONT headers header)
  file(STRINGS ${header} include_lines REGEX "^#include \"framework/.*/internal/")
  list(TRANSFORM include_lines REPLACE "^#include \"(.*)\".*" "\\1")
  list(REMOVE_ITEM include_lines ${included_internal_headers})
  list(APPEND included_internal_headers ${include_lines})
  list(APPEND headers ${include_lines})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
endwhile()
foreach(header IN LISTS included_internal_headers)
  cmake_path(GET header PARENT_PATH directory)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${directory} COMPONENT development)
endforeach()

# For find_package(orvel_framework).
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvel_framework)
write_basic_package_version_file(orvel_framework-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/orvel_framework-config.cmake ${PROJECT_BINARY_DIR}/orvel_framework-config-version.cmake
  DESTINATION ${config_dir} COMPONENT development)
install(EXPORT orvel_framework NAMESPACE orvel:: FILE orvel_framework-targets.cmake
  DESTINATION ${config_dir} COMPONENT development)

# For pkg-config. Its file derives the prefix from its own place, so that an installed tree can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  OUTPUT_VARIABLE pkgconfig_to_prefix)
set(pkgconfig_libdir ${CMAKE_INSTALL_LIBDIR})
set(pkgconfig_includedir ${CMAKE_INSTALL_INCLUDEDIR})
foreach(path IN ITEMS pkgconfig_to_prefix pkgconfig_libdir pkgconfig_includedir)
  string(REPLACE " " "\\ " ${path} "${${path}}")
endforeach()
foreach(path IN ITEMS pkgconfig_libdir pkgconfig_includedir)
  if(NOT IS_ABSOLUTE "${${path}}")
    set(${path} "\${prefix}/${${path}}")
  endif()
endforeach()
configure_file(cmake/orvel_framework.pc.in orvel_framework.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvel_framework.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# What a program's author reads and begins with: the pages, and each example as a project of its own.
install(FILES README.md ARCHITECTURE.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT development)
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN theme EXCLUDE)
include(cmake/standalone_examples.cmake)
install(DIRECTORY ${PROJECT_BINARY_DIR}/standalone_examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
  COMPONENT development)

# The site that ./dev docs makes. It takes more than building the library does, so it is packed only where it is told.
set(ORVEL_DOCS_SITE "" CACHE PATH "The directory with the site, to install it; nothing: without")
if(ORVEL_DOCS_SITE)
  install(DIRECTORY ${ORVEL_DOCS_SITE}/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/html COMPONENT documentation)
endif()
