# The Debian package: cpack makes it in the build directory, from wherever it is called.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_PACKAGE_NAME ${SCSIDEV_DIRECTORY})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "inventory of SCSI, ATA and optical devices as CIM instances")
set(CPACK_PACKAGE_DESCRIPTION
"Asks the disks, tape drives, optical drives and enclosures of a machine who
they are, and shows vendor, model, firmware, serial number and address as a
table, as JSON or as instances of a CIM schema. A machine can be recorded into
a file and shown elsewhere.
.
The device collector is a plug-in, which other inventory hosts can load; the
headers of its contract and an example host are part of the package.")
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "scsidev maintainers <maintainers@scsidev.example>")
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# hwinfo tells virtual USB media apart, modprobe of kmod loads the driver; without them there is less to see.
# scsidev-compare is a Python program.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "hwinfo, kmod, python3")
# For compiling a host against the contract.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "libboost-dev")

include(CPack)
