# Builds for browsers and Node.js, by Debian's emscripten.
execute_process(COMMAND em-config EMSCRIPTEN_ROOT
  OUTPUT_VARIABLE MORVANE_EMSCRIPTEN OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
# Its linker is written for Debian's node and asks for packages that another one does not find by itself.
set(ENV{NODE_PATH} /usr/share/nodejs)
set_property(GLOBAL PROPERTY RULE_LAUNCH_LINK "${CMAKE_COMMAND} -E env NODE_PATH=/usr/share/nodejs")
include(${MORVANE_EMSCRIPTEN}/cmake/Modules/Platform/Emscripten.cmake)
