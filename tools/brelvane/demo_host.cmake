# The demo host and its message catalogue (data/catalogo.tsv, compiled in so
# that no data file is needed at run time). It needs the core alone: the
# tool's `call` uses it, and so does the COM test host of a Windows build.
if(NOT TARGET brelvane_demo_host)
  file(READ ${CMAKE_CURRENT_LIST_DIR}/data/catalogo.tsv BRELVANE_CATALOGUE)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/catalogue.cpp.in
    ${CMAKE_CURRENT_BINARY_DIR}/catalogue.cpp @ONLY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${CMAKE_CURRENT_LIST_DIR}/data/catalogo.tsv)
  add_library(brelvane_demo_host STATIC
    ${CMAKE_CURRENT_LIST_DIR}/demo_host.cpp ${CMAKE_CURRENT_BINARY_DIR}/catalogue.cpp)
  target_include_directories(brelvane_demo_host PUBLIC ${CMAKE_CURRENT_LIST_DIR})
  target_link_libraries(brelvane_demo_host PUBLIC brelvane_internal)
endif()
