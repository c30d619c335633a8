# kelo_folder(NAME SOURCES ... DEPENDS ...): the static library of one src/ folder.
# A folder with no sources yet is an interface library, so it can be declared early.
function(kelo_folder name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPENDS" ${ARGN})
  if(ARG_SOURCES)
    add_library(kelo_${name} STATIC ${ARG_SOURCES})
    target_include_directories(kelo_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(kelo_${name} PUBLIC ${ARG_DEPENDS})
  else()
    add_library(kelo_${name} INTERFACE)
    target_include_directories(kelo_${name} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(kelo_${name} INTERFACE ${ARG_DEPENDS})
  endif()
endfunction()
