# Cross-compiles for 64-bit Windows with clang against MinGW-w64's headers and libraries: the
# second compiler, which sees what GCC overlooks.
# Thread-local variables are emulated because those of the GCC runtime, which std::call_once uses, are.
# clang chooses the win32-thread headers by itself (and ignores --gcc-install-dir here), so the
# posix ones are pinned by hand.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

file(GLOB ORVA_POSIX_GCC /usr/lib/gcc/x86_64-w64-mingw32/*-posix)
list(GET ORVA_POSIX_GCC -1 ORVA_POSIX_GCC)
set(CMAKE_CXX_FLAGS_INIT
    "-femulated-tls -nostdinc++ -isystem ${ORVA_POSIX_GCC}/include/c++ -isystem ${ORVA_POSIX_GCC}/include/c++/x86_64-w64-mingw32 -isystem ${ORVA_POSIX_GCC}/include/c++/backward")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -fuse-ld=lld -L${ORVA_POSIX_GCC} -pthread")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -fuse-ld=lld -L${ORVA_POSIX_GCC} -pthread")

set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine.sh)
