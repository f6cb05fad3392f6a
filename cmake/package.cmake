# Debian packages, made by `cpack` in the build directory: liborvel-framework1, liborvel-framework-dev and, where
# ORVEL_DOCS_SITE tells of a site, liborvel-framework-doc.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME liborvel-framework)
set(CPACK_PACKAGE_VENDOR "orvel framework")
set(CPACK_PACKAGE_CONTACT "The orvel framework developers <framework@orvel.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "foundation library for Linux applications")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/complete_packages.cmake)
set(CPACK_COMPONENTS_ALL runtime development)
if(ORVEL_DOCS_SITE)
  list(APPEND CPACK_COMPONENTS_ALL documentation)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Result codes, ordered start-up, allocators, containers, strings, byte buffers,
marshaling, time, threads and locks, components and cryptography in one
shared library.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME liborvel-framework${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# What the library is linked with says what the package depends on, and the package's own version what others then need.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY >=)
# Debian updates the loader's cache by a trigger. CPack would only add scripts that do it a second time.
file(WRITE ${PROJECT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers, CMake package and pkg-config file for programs that use the orvel
framework, its guide, and examples to begin with.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborvel-framework-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# The packages that own what our own package files ask for.
execute_process(COMMAND dpkg-query --search ${OPENSSL_CRYPTO_LIBRARY}
  OUTPUT_VARIABLE owner OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(owner MATCHES "^([^:]+):")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${CMAKE_MATCH_1})
endif()

set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION "The reference of the orvel framework with its guide, to be read in a browser without a
network.")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME liborvel-framework-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS liborvel-framework-doc)
# What they are called in the file system of a package is for cmake/complete_packages.cmake to set right.
set(CPACK_ORVEL_DOCDIR ${CMAKE_INSTALL_DOCDIR})
include(CPack)
