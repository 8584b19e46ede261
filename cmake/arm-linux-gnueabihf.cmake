# Toolchain for 32-bit ARM as in Debian: ARMv7-A with hardware floating point. The compilers are in the package
# g++-arm-linux-gnueabihf; scripts/sysroot-armhf makes the sysroot, and -DCMAKE_SYSROOT= chooses another.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_C_FLAGS_INIT "-march=armv7-a+fp -mfloat-abi=hard -mthumb")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")

if(NOT DEFINED CMAKE_SYSROOT)
  get_filename_component(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm-sysroot ABSOLUTE)
endif()
if(NOT EXISTS ${CMAKE_SYSROOT}/usr/include)
  message(FATAL_ERROR "${CMAKE_SYSROOT} is no sysroot; scripts/sysroot-armhf makes one")
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_DIR} "")
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

# Tests run under the emulator, inside the private root.
find_program(KAVEX_QEMU_ARM NAMES qemu-arm qemu-arm-static)
if(KAVEX_QEMU_ARM)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${KAVEX_QEMU_ARM})
endif()
