# kelo_folder(NAME sources... DEPENDS libs...): the static library of one src/ folder.
function(kelo_folder name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(kelo_${name} STATIC ${ARG_SOURCES})
  target_include_directories(kelo_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(kelo_${name} PUBLIC ${ARG_DEPENDS})
endfunction()
