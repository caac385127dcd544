# Writes brelvane-VERSION-windows.zip: the DLLs, the x64 type library and
# manifest that `regsvr32 /n /i:manifest` wrote, the C++ header and the
# README. Run by scripts/com-tests.sh:
#   cmake -DX64=BUILD -DFILES=DIR [-DX86=BUILD] -DVERSION=V -DOUT=DIR -P zip.cmake
set(name brelvane-${VERSION}-windows)
set(stage ${OUT}/${name})
file(REMOVE_RECURSE ${stage})
file(COPY ${X64}/com/brelvane.dll ${FILES}/brelvane.tlb ${FILES}/brelvane.sxs.manifest
  DESTINATION ${stage}/x64)
if(X86)
  file(COPY ${X86}/com/brelvane.dll DESTINATION ${stage}/x86)
endif()
file(COPY ${X64}/com/brelvane_com.h DESTINATION ${stage}/include)
configure_file(${CMAKE_CURRENT_LIST_DIR}/README-windows.txt ${stage}/README-windows.txt @ONLY
  NEWLINE_STYLE CRLF)
file(GLOB_RECURSE members RELATIVE ${OUT} ${stage}/*)
execute_process(COMMAND ${CMAKE_COMMAND} -E tar cf ${OUT}/${name}.zip --format=zip ${members}
  WORKING_DIRECTORY ${OUT} RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "could not write ${OUT}/${name}.zip")
endif()
message(STATUS "${OUT}/${name}.zip")
