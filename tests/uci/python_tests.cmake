# The tests that drive the executable from outside. Each module is one test; one that needs a
# program that is not installed shows as skipped.
find_package(Python3 COMPONENTS Interpreter REQUIRED)

# morvane_python_test(MODULE TIMEOUT [INTERPRETER]): runs test_MODULE.py of a folder that run.py names.
# Timeouts leave room for sanitizers and busy machines.
function(morvane_python_test module timeout)
  set(interpreter ${ARGN} ${Python3_EXECUTABLE})
  list(GET interpreter 0 interpreter)
  add_test(NAME executable.${module}
    COMMAND ${interpreter} -B ${CMAKE_CURRENT_SOURCE_DIR}/uci/run.py test_${module})
  set_tests_properties(executable.${module} PROPERTIES
    ENVIRONMENT "MORVANE_ENGINE=$<TARGET_FILE:morvane>;MORVANE_SELFCHECK=$<TARGET_FILE:morvane_selfcheck>;\
MORVANE_PACK=$<TARGET_FILE:morvane_pack>"
    SKIP_RETURN_CODE 77
    TIMEOUT ${timeout})
endfunction()

# The longest first, so that nothing long is left for one processor at the end.
morvane_python_test(commands 900 /usr/bin/python3) # where Debian puts yaml
morvane_python_test(limits 900)
morvane_python_test(determinism 1200)
morvane_python_test(datagen 1800)
morvane_python_test(display 900)
morvane_python_test(makefile 600)
morvane_python_test(hostile 1800)
morvane_python_test(fit 900 /usr/bin/python3) # as the program that it tests: where Debian puts numpy
morvane_python_test(learning 300 /usr/bin/python3)
morvane_python_test(processor 600)
morvane_python_test(xboard 600)
morvane_python_test(match 300)
morvane_python_test(rules 600)
morvane_python_test(stress 900)
morvane_python_test(pack 900 /usr/bin/python3)
morvane_python_test(store 300 /usr/bin/python3)
morvane_python_test(compare 600)
morvane_python_test(datagen_shards 900)
morvane_python_test(datagen_shards_store 900)
morvane_python_test(datagen_shards_slurm 600)
morvane_python_test(datagen_shards_kubernetes 300 /usr/bin/python3) # where Debian puts yaml
morvane_python_test(benchmarks 300)
morvane_python_test(measure 300)
morvane_python_test(modes 1800)
morvane_python_test(go 900)
morvane_python_test(node_client 300)
morvane_python_test(signature 1800)
morvane_python_test(writes 300)
morvane_python_test(long_games 600)
morvane_python_test(protocol 900)
morvane_python_test(position 300)
morvane_python_test(introduction 300)
morvane_python_test(tuning 900)
morvane_python_test(streaming 600)
morvane_python_test(programs 300)
morvane_python_test(same_play 300)
morvane_python_test(steps 300)
morvane_python_test(messages 300)
morvane_python_test(manual 120)
morvane_python_test(links 60)
morvane_python_test(readme 300)
morvane_python_test(clients_page 60)
morvane_python_test(install 300)
morvane_python_test(version 60)
morvane_python_test(epd 600)
if(MORVANE_HARDEN AND NOT MORVANE_SANITIZE AND CMAKE_BUILD_TYPE STREQUAL "Release")
  morvane_python_test(hardening 60)
endif()
morvane_python_test(options 600)
morvane_python_test(ends 1200)
morvane_python_test(games 900)
morvane_python_test(never_late 900)

# Clocks run in these: no other test should take the processors from them.
set_tests_properties(executable.options executable.ends executable.games executable.never_late
  PROPERTIES RUN_SERIAL TRUE LABELS clocked)
# These have seconds to spare, and a display each at a time.
set_tests_properties(executable.match executable.xboard PROPERTIES RESOURCE_LOCK display)

# Whether the engine works here: these need nothing but it and Python, and take seconds.
foreach(module protocol position go modes introduction signature tuning long_games hostile messages version)
  set_tests_properties(executable.${module} PROPERTIES LABELS quick)
endforeach()
set_tests_properties(executable.options PROPERTIES LABELS "clocked;quick")
