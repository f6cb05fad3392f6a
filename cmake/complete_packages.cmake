# Run by cpack when the packages are filled, before they are closed.
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} COMPONENT)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component})
  set(doc_dir ${root}${CPACK_PACKAGING_INSTALL_PREFIX}/share/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  # Debian wants documents under the name of their package.
  set(installed_doc_dir ${root}${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_ORVEL_DOCDIR})
  if(IS_ABSOLUTE ${CPACK_ORVEL_DOCDIR})
    set(installed_doc_dir ${root}${CPACK_ORVEL_DOCDIR})
  endif()
  if(EXISTS ${installed_doc_dir})
    file(RENAME ${installed_doc_dir} ${doc_dir})
  endif()
  file(MAKE_DIRECTORY ${doc_dir})
  execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/debian_changelog.sh ${CPACK_PACKAGE_NAME} ${CPACK_PACKAGE_CONTACT}
    COMMAND gzip --best --no-name
    INPUT_FILE ${CMAKE_CURRENT_LIST_DIR}/../CHANGELOG.md
    OUTPUT_FILE ${doc_dir}/changelog.gz
    COMMAND_ERROR_IS_FATAL ANY)
  # Who makes the packages may have a umask that shuts others out.
  execute_process(COMMAND chmod --recursive u=rwX,go=rX ${root} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
