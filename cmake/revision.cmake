# Writes the source file OUTPUT, which tells the program what revision of SOURCE it is built from: REVISION,
# or if that is empty what git says, or what stands in the sources where they come from an archive of git's. Run with
# cmake -P at each build; the file stays untouched while the revision does, so that nothing is compiled again.
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
elseif(NOT REVISION AND EXISTS "${SOURCE}/cmake/revision.txt")
  file(READ "${SOURCE}/cmake/revision.txt" text)
  if(text MATCHES "^[0-9a-f]+") # not in a copy of a checkout
    string(SUBSTRING "${text}" 0 12 REVISION)
  endif()
endif()
file(CONFIGURE OUTPUT "${OUTPUT}" @ONLY CONTENT [[
extern const char* const kRevision;
const char* const kRevision = "@REVISION@";
]])
