# What `cmake --install` puts where.

install(TARGETS scsidev-inventory RUNTIME)
install(PROGRAMS compare/scsidev-compare TYPE BIN)
# The program's own libraries, which it finds from where it stands itself.
install(TARGETS scsidev-plugin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${SCSIDEV_DIRECTORY})

# The host contract: #include "plugin/host/..." with include/scsidev in the search path.
install(DIRECTORY plugin/host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/scsidev/plugin FILES_MATCHING PATTERN *.h)

install(DIRECTORY machines DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY} FILES_MATCHING PATTERN *.json)
install(DIRECTORY schema DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY} OPTIONAL
  FILES_MATCHING PATTERN *.mof PATTERN *.json)

foreach(document changelog scsidev-compare.1 scsidev-inventory.1)
  add_custom_command(
    OUTPUT ${document}.gz
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/docs/${document} >${document}.gz
    DEPENDS docs/${document})
  list(APPEND compressed ${PROJECT_BINARY_DIR}/${document}.gz)
endforeach()
add_custom_target(compressed-documents ALL DEPENDS ${compressed})
install(FILES ${PROJECT_BINARY_DIR}/scsidev-compare.1.gz ${PROJECT_BINARY_DIR}/scsidev-inventory.1.gz
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${PROJECT_BINARY_DIR}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${SCSIDEV_DIRECTORY})
install(FILES completion/scsidev-inventory DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# Where systemd looks under every prefix; nothing is enabled.
install(FILES fleet/scsidev-inventory.service fleet/scsidev-inventory.timer DESTINATION lib/systemd/system)
install(PROGRAMS fleet/scsidev.fact DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY}/fleet)
install(FILES fleet/scsidev-alerts.yml DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY}/fleet)

install(FILES docs/fleet.md docs/host-contract.md docs/example-host.cpp docs/json.md docs/machine-files.md
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${SCSIDEV_DIRECTORY})
