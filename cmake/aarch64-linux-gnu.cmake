# Cross build for the SoC's architecture, 64-bit Arm, with Debian's cross compiler and the arm64
# libraries of a multiarch installation (see tools/cross-test.sh). Programs built here, the test
# programs that CTest runs and lists included, run under qemu's user-mode emulation, on the arm64
# runtime libraries of the multiarch installation. (qemu's -L /usr/aarch64-linux-gnu would mix the
# cross toolchain's loader with the multiarch C library, and threads then never start.)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)

# Libraries and their package files come from the arm64 multiarch directories only;
# architecture-independent packages (header-only nlohmann-json) from /usr/share.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_PATH} "")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
