# Builds for Windows by clang++ and lld, with the libraries of g++ for Windows: clang++ 14 does not find them by itself,
# since Debian's folder is not named as others are.
include(${CMAKE_CURRENT_LIST_DIR}/x86_64-w64-mingw32.cmake)
set(gcc /usr/lib/gcc/x86_64-w64-mingw32/12-posix)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_CXX_FLAGS_INIT "-stdlib++-isystem ${gcc}/include/c++ -cxx-isystem ${gcc}/include/c++/x86_64-w64-mingw32")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -L${gcc}")
