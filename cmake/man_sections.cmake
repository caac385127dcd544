# Writes the help2man include file of the tool's manual page: one section per
# command, with that command's own help text as it prints it.
#   cmake -DTOOL=... -DOUTPUT=... -P man_sections.cmake
set(sections "")
foreach(command run call list site completion)
  execute_process(COMMAND ${TOOL} help ${command} OUTPUT_VARIABLE text RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${TOOL} help ${command} failed")
  endif()
  # Kept as printed (no filling); roff's own characters escaped.
  string(REPLACE "\\" "\\e" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  string(TOUPPER "${command}" title)
  string(APPEND sections "[COMMAND ${title}]\n.nf\n${text}.fi\n\n")
endforeach()
file(WRITE ${OUTPUT} "${sections}")
