# What `cmake --install` puts where.

install(TARGETS scsidev-inventory RUNTIME)
install(PROGRAMS compare/scsidev-compare TYPE BIN)
# The program's own libraries, which it finds from where it stands itself.
install(TARGETS scsidev-plugin LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${SCSIDEV_DIRECTORY})
if(TARGET scsidev-simulator)
  install(TARGETS scsidev-simulator LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/${SCSIDEV_DIRECTORY})
  # So that script/inventory, which builds the program alone, builds all that is installed.
  add_dependencies(scsidev-inventory scsidev-simulator)
endif()

# The host contract: #include "plugin/host/..." with include/scsidev in the search path.
install(DIRECTORY plugin/host DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/scsidev/plugin FILES_MATCHING PATTERN *.h)

install(DIRECTORY machines DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY} FILES_MATCHING PATTERN *.json)
install(DIRECTORY schema DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY} OPTIONAL
  FILES_MATCHING PATTERN *.mof PATTERN *.json)

install(FILES docs/scsidev-compare.1 docs/scsidev-inventory.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES completion/scsidev-inventory DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# Where systemd looks under every prefix; nothing is enabled.
install(FILES fleet/scsidev-inventory.service fleet/scsidev-inventory.timer DESTINATION lib/systemd/system)
install(PROGRAMS fleet/scsidev.fact DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY}/fleet)
install(FILES fleet/scsidev-alerts.yml DESTINATION ${CMAKE_INSTALL_DATADIR}/${SCSIDEV_DIRECTORY}/fleet)

install(FILES docs/fleet.md docs/host-contract.md docs/example-host.cpp docs/json.md docs/machine-files.md
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${SCSIDEV_DIRECTORY})
