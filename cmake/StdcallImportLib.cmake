# Script mode (cmake -P): rewrites the import library of a 32-bit DLL whose
# __stdcall exports carry plain names. The linker's own import library names
# them plainly too (_InitArcFile), but callers compiled against the header ask
# for the decorated symbol (_InitArcFile@4); dlltool makes one that maps the
# decorated symbols onto the plain export names.
# Needs NM, DLLTOOL, DLL, MAP (the version script with the names) and IMPLIB.
file(READ ${MAP} text)
string(REGEX MATCH "global:([^}]*)local:" _ "${text}")
string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*" names "${CMAKE_MATCH_1}")
execute_process(COMMAND ${NM} --defined-only ${DLL} OUTPUT_VARIABLE symbols
  COMMAND_ERROR_IS_FATAL ANY)
set(def "EXPORTS\n")
foreach(name IN LISTS names)
  if(NOT symbols MATCHES " T _(${name}@[0-9]+)\n")
    message(FATAL_ERROR "${DLL}: no __stdcall symbol for ${name} (stripped?)")
  endif()
  string(APPEND def "  ${CMAKE_MATCH_1}\n")
endforeach()
get_filename_component(dllName ${DLL} NAME)
file(WRITE ${IMPLIB}.def "${def}")
execute_process(COMMAND ${DLLTOOL} --kill-at --def ${IMPLIB}.def --dllname ${dllName}
  --output-lib ${IMPLIB} COMMAND_ERROR_IS_FATAL ANY)
