# Builds for another architecture with Debian's cross compilers, and runs what was built under qemu-user:
#
#   cmake --toolchain cmake/cross.cmake -D SCSIDEV_ARCH=s390x ...
#
# Libraries that are headers alone are this machine's own: on Debian /usr/include suits every architecture. Others are
# looked for in the architecture's own directories, where this machine's are not.
set(triplet ${SCSIDEV_ARCH}-linux-gnu)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${SCSIDEV_ARCH})
set(CMAKE_C_COMPILER ${triplet}-gcc) # for GoogleTest's project
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${SCSIDEV_ARCH} -L /usr/${triplet})
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES SCSIDEV_ARCH) # try_compile reads this file too
