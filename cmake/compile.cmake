# Compile and link settings that every target shares, collected in the interface target
# morvane_options.
find_package(Threads REQUIRED)

cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH MORVANE_ROOT)

add_library(morvane_options INTERFACE)
target_include_directories(morvane_options INTERFACE ${MORVANE_ROOT}/src)
target_link_libraries(morvane_options INTERFACE Threads::Threads)

target_compile_options(morvane_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
# g++ remarks on a change of its calling conventions between versions 4.5 and 4.6; everything here is compiled
# by one version.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(morvane_options INTERFACE -Wno-psabi)
  target_link_options(morvane_options INTERFACE -Wno-psabi)
endif()
# Under sanitizers g++ warns about the standard library's own code.
if(MORVANE_WERROR AND NOT MORVANE_SANITIZE)
  target_compile_options(morvane_options INTERFACE -Werror)
endif()

# What every processor of the target's architecture has; unknown for architectures not named here.
set(MORVANE_BASELINE "")
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    set(MORVANE_BASELINE x86-64)
  elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    set(MORVANE_BASELINE armv8-a)
  endif()
endif()

if(MORVANE_ARCH STREQUAL "baseline")
  set(MORVANE_MARCH ${MORVANE_BASELINE})
else()
  set(MORVANE_MARCH ${MORVANE_ARCH})
endif()
if(MORVANE_MARCH)
  target_compile_options(morvane_options INTERFACE -march=${MORVANE_MARCH})
endif()

# What the processor has and what the build needs can be compared where there is a table of the architecture's
# (src/platform/cpu.h). A program can do that before anything else where files have a section for it, those of ELF.
set(MORVANE_KNOWS_PROCESSOR OFF)
if(MORVANE_BASELINE AND (LINUX OR (WIN32 AND MORVANE_BASELINE STREQUAL "x86-64")))
  set(MORVANE_KNOWS_PROCESSOR ON)
  set(MORVANE_CPU_SOURCES ${MORVANE_ROOT}/src/platform/cpu.cpp)
  if(MORVANE_BASELINE STREQUAL "x86-64")
    list(APPEND MORVANE_CPU_SOURCES ${MORVANE_ROOT}/src/platform/cpu_x86_64.cpp)
  else()
    list(APPEND MORVANE_CPU_SOURCES ${MORVANE_ROOT}/src/platform/cpu_aarch64_linux.cpp)
  endif()
  target_compile_definitions(morvane_options INTERFACE MORVANE_KNOWS_PROCESSOR)
  if(LINUX)
    set(MORVANE_CPU_CHECK ${MORVANE_ROOT}/src/platform/cpu_check_linux.cpp)
  endif()
endif()

# morvane_for_any_processor(SOURCE...): these sources run on every processor of the architecture, whatever the
# rest is built for, the caller's CMAKE_CXX_FLAGS included. Such code is not optimised together with the rest.
function(morvane_for_any_processor)
  set(options -march=${MORVANE_BASELINE} -fno-lto)
  if(MORVANE_BASELINE STREQUAL "x86-64") # without SSE3 there is nothing of AVX
    list(APPEND options -mno-sse3 -mno-gfni -mno-popcnt -mno-lzcnt -mno-bmi -mno-bmi2 -mno-movbe -mno-tbm)
  else()
    list(APPEND options -mcpu=generic)
  endif()
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${options}")
endfunction()

# Where the processor extracts bits in one fast instruction, sliding attacks are found by it. Some
# processors have the instruction and take hundreds of cycles for it, so a build that may run
# elsewhere than here multiplies instead.
if(MORVANE_PEXT STREQUAL "AUTO")
  set(MORVANE_USES_PEXT OFF)
  if(MORVANE_ARCH STREQUAL "native")
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_FLAGS "-march=native")
    check_cxx_source_compiles("
      #if !__BMI2__ || __znver1__ || __znver2__ || __bdver4__
      #error no bit extraction, or a slow one
      #endif
      int main() {}" MORVANE_PEXT_IS_FAST)
    unset(CMAKE_REQUIRED_FLAGS)
    set(MORVANE_USES_PEXT ${MORVANE_PEXT_IS_FAST})
  endif()
else()
  set(MORVANE_USES_PEXT ${MORVANE_PEXT})
endif()
if(MORVANE_USES_PEXT)
  target_compile_definitions(morvane_options INTERFACE MORVANE_PEXT)
endif()

# Libraries within the executable: the compiler's own, which an older system may lack, or all of them.
if(NOT MORVANE_STATIC MATCHES "^(OFF|RUNTIME|ALL)$")
  message(FATAL_ERROR "MORVANE_STATIC must be OFF, RUNTIME or ALL")
endif()
set(MORVANE_PIE -fPIE)
set(MORVANE_NO_PIE -fno-pie)
set(MORVANE_PIE_LINK -pie)
set(MORVANE_NO_PIE_LINK -no-pie)
if(MORVANE_STATIC STREQUAL "RUNTIME")
  target_link_options(morvane_options INTERFACE -static-libstdc++ -static-libgcc)
elseif(MORVANE_STATIC STREQUAL "ALL")
  set(MORVANE_PIE_LINK -static-pie)
  set(MORVANE_NO_PIE_LINK -no-pie -static)
  if(LINUX AND MORVANE_BASELINE STREQUAL "x86-64") # a linker that cannot do it says so and goes on
    list(APPEND MORVANE_PIE_LINK -Wl,-z,pack-relative-relocs)
  endif()
endif()
if(EMSCRIPTEN)
  set(MORVANE_PIE)
  set(MORVANE_NO_PIE)
  set(MORVANE_PIE_LINK)
  set(MORVANE_NO_PIE_LINK)
  # What all browsers have had for years, and with it calls that fail are caught without help by JavaScript.
  target_compile_options(morvane_options INTERFACE -msimd128 -mbulk-memory -msign-ext -fwasm-exceptions
    -Wno-shorten-64-to-32 # of indices, which all fit its 32 bits of address
    -Wno-dollar-in-identifier-extension) # of arguments of scripts within sources
  target_link_options(morvane_options INTERFACE -O3 -fwasm-exceptions -Wno-pthreads-mem-growth)
  if(MORVANE_THREADS)
    target_compile_options(morvane_options INTERFACE -pthread)
    target_link_options(morvane_options INTERFACE -pthread)
  endif()
endif()
if(MORVANE_STATIC MATCHES "RUNTIME|ALL" AND NOT APPLE) # libraries have much that nobody calls
  target_link_options(morvane_options INTERFACE -Wl,--gc-sections)
endif()
if(WIN32) # code is position-independent there if the linker says so
  set(MORVANE_PIE)
  set(MORVANE_NO_PIE)
  set(MORVANE_PIE_LINK -Wl,--dynamicbase,--nxcompat,--high-entropy-va -fstack-protector-strong)
  set(MORVANE_NO_PIE_LINK)
  if(MORVANE_STATIC STREQUAL "ALL")
    target_link_options(morvane_options INTERFACE -static)
  endif()
  target_link_options(morvane_options INTERFACE -Wno-stringop-overflow) # of std::string, where all is inlined
  target_link_options(morvane_options INTERFACE -Wl,--no-insert-timestamp) # the same bytes at any time
  # Variables are never another library's: without this each use of one asks a table where it lies.
  target_compile_options(morvane_options INTERFACE -mcmodel=small)
  # g++ does not align the stack to more than 16 bytes there, but moves wider vectors as if it had: the assembler
  # writes moves that ask for no alignment.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(morvane_options INTERFACE -Wa,-muse-unaligned-vector-move)
    target_link_options(morvane_options INTERFACE -Wa,-muse-unaligned-vector-move)
  endif()
endif()

# A variant (cmake/variants.cmake) is one relocatable object. It is optimised as the whole program that it nearly is:
# only the platform's functions are not in it. In one part, or the parts would see each other's variables.
if(MORVANE_VARIANT)
  set(MORVANE_NO_PIE_LINK -r -nostdlib -fwhole-program -flto-partition=one -flinker-output=exec)
  set(MORVANE_PIE_LINK ${MORVANE_NO_PIE_LINK})
  if(WIN32)
    # Without the import library that CMake asks for: the linker crashes over one of an object.
    set(CMAKE_CXX_LINK_EXECUTABLE "<CMAKE_CXX_COMPILER> <FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
  else()
    list(TRANSFORM MORVANE_PIE_LINK REPLACE "=exec$" "=pie")
    target_link_options(morvane_options INTERFACE -Wl,--force-group-allocation) # variants' inline functions differ
  endif()
  set(CMAKE_CXX_STANDARD_LIBRARIES "")
endif()

# What makes a mistake in the program hard to use for somebody else: addresses that differ from run to
# run, relocations that nothing can change once the program runs, guarded return addresses (see
# src/CMakeLists.txt), checked calls of the C library. The sanitizers bring checks of their own.
if(NOT MORVANE_SANITIZE)
  if(MORVANE_HARDEN)
    target_compile_options(morvane_options INTERFACE ${MORVANE_PIE})
    target_link_options(morvane_options INTERFACE ${MORVANE_PIE_LINK})
    if(NOT APPLE AND NOT WIN32 AND NOT MORVANE_VARIANT) # always so there; nothing like it there; done later
      target_link_options(morvane_options INTERFACE -Wl,-z,relro,-z,now)
    endif()
    # The checks need an optimised build. With mingw they link, but no call of the program becomes a checked one.
    if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT WIN32)
      target_compile_options(morvane_options INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    endif()
  else()
    target_compile_options(morvane_options INTERFACE ${MORVANE_NO_PIE})
    target_link_options(morvane_options INTERFACE ${MORVANE_NO_PIE_LINK})
  endif()
endif()

# A profile says how often each branch was taken while the engine trained (scripts/profile.sh). Its files are named
# by the objects' places in the build folder, so that they serve, and the bytes are the same, whatever that folder is.
set(MORVANE_PROFILE_FOLDER ${PROJECT_BINARY_DIR}/profile CACHE PATH "Where a profile lies")
if(MORVANE_PROFILE STREQUAL "GENERATE")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(MORVANE_PROFILE_FLAGS -fprofile-generate -fprofile-update=single -fprofile-dir=${MORVANE_PROFILE_FOLDER}
      -fprofile-prefix-path=${PROJECT_BINARY_DIR})
  else()
    set(MORVANE_PROFILE_FLAGS -fprofile-generate=${MORVANE_PROFILE_FOLDER})
  endif()
elseif(MORVANE_PROFILE STREQUAL "USE")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(MORVANE_PROFILE_FLAGS -fprofile-use=${MORVANE_PROFILE_FOLDER} -fprofile-prefix-path=${PROJECT_BINARY_DIR}
      -Werror=missing-profile)
  else()
    set(MORVANE_PROFILE_FLAGS -fprofile-use=${MORVANE_PROFILE_FOLDER}/merged.profdata)
  endif()
elseif(MORVANE_PROFILE)
  message(FATAL_ERROR "MORVANE_PROFILE must be GENERATE, USE or empty")
endif()
target_link_options(morvane_options INTERFACE ${MORVANE_PROFILE_FLAGS})
if(MORVANE_PROFILE STREQUAL "GENERATE" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_link_options(morvane_options INTERFACE -Wno-stringop-overflow) # of std::string, between the counters
endif()

# morvane_use_profile(TARGET): counts, or is optimised by counts, if it is a layer that a search passes through. What
# the other layers do in training depends on the time it takes, and so would their bytes.
function(morvane_use_profile target)
  if(target MATCHES "_(board|eval|search)$")
    target_compile_options(${target} PRIVATE ${MORVANE_PROFILE_FLAGS})
  endif()
endfunction()

# Release means -O3 whatever the generator's default is.
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g -D_GLIBCXX_ASSERTIONS")

if(MORVANE_SANITIZE) # reports name functions and lines, for which the least of debug information will do
  target_compile_options(morvane_options INTERFACE
    -fsanitize=${MORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  target_link_options(morvane_options INTERFACE -fsanitize=${MORVANE_SANITIZE})
endif()

if(MORVANE_LTO AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT MORVANE_SANITIZE)
  include(CheckIPOSupported)
  if(EMSCRIPTEN) # the test of CMake does not know it
    set(MORVANE_IPO_SUPPORTED ON)
  else()
    check_ipo_supported(RESULT MORVANE_IPO_SUPPORTED OUTPUT MORVANE_IPO_WHY LANGUAGES CXX)
  endif()
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ${MORVANE_IPO_SUPPORTED})
  # The parallel kind of clang++ gives names that depend on the folder of the sources.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(CMAKE_CXX_COMPILE_OPTIONS_IPO -flto)
    set(CMAKE_CXX_LINK_OPTIONS_IPO -flto)
  endif()
endif()
