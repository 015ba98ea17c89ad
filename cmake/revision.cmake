# Writes the source file OUTPUT, which tells the program what revision of SOURCE it is built from: REVISION,
# or what git says if that is empty, and nothing where the sources are no checkout. Run with cmake -P at each
# build; the file stays untouched while the revision does, so that nothing is compiled again.
# Names of fixed length without tags: two clones of one revision give the same bytes.
if(NOT REVISION AND EXISTS "${SOURCE}/.git")
  execute_process(
    COMMAND git --no-optional-locks describe --always --dirty --abbrev=12 --exclude=*
    WORKING_DIRECTORY "${SOURCE}"
    OUTPUT_VARIABLE REVISION OUTPUT_STRIP_TRAILING_WHITESPACE
    ERROR_QUIET RESULT_VARIABLE failure)
  if(failure) # no git, or it does not trust the folder
    set(REVISION "")
  endif()
endif()
file(CONFIGURE OUTPUT "${OUTPUT}" @ONLY CONTENT [[
extern const char* const kRevision;
const char* const kRevision = "@REVISION@";
]])
