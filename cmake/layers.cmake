# One library per folder of src/, each declaring the layers it may use:
#
#   base ← vocabulary, platform ← pure policies ← owners ← app
#
# A layer's headers are staged (as links) under build/layers/<target>/, and a target's include
# path holds only its own staged headers and those of the layers it uses, so an include that
# breaks the layering fails to compile. Sub-folders are layers of their own.

# tarvolo_layer(<folder under src/> [USES <targets>...] [EXTERNAL <targets>...]
#               [EXCLUDE <source file names>...] [ROOT <directory>])
# Defines the target tarvolo_<folder, "/" as "_">, e.g. tarvolo_discovery_owners, from the
# folder's .cpp (and, for the Mac, .mm) files. ROOT places the folder elsewhere than src/.
function(tarvolo_layer folder)
  cmake_parse_arguments(LAYER "" "ROOT" "USES;EXTERNAL;EXCLUDE" ${ARGN})
  if(NOT LAYER_ROOT)
    set(LAYER_ROOT ${PROJECT_SOURCE_DIR}/src)
  endif()
  string(REPLACE "/" "_" name "tarvolo_${folder}")
  set(dir ${LAYER_ROOT}/${folder})
  file(GLOB sources CONFIGURE_DEPENDS ${dir}/*.cpp ${dir}/*.mm)
  foreach(excluded IN LISTS LAYER_EXCLUDE)
    list(REMOVE_ITEM sources ${dir}/${excluded})
  endforeach()
  file(GLOB headers CONFIGURE_DEPENDS ${dir}/*.h)
  set(stage ${CMAKE_BINARY_DIR}/layers/${name})
  file(REMOVE_RECURSE ${stage})
  file(MAKE_DIRECTORY ${stage}/${folder})
  foreach(header IN LISTS headers)
    get_filename_component(file ${header} NAME)
    file(CREATE_LINK ${header} ${stage}/${folder}/${file} SYMBOLIC)
  endforeach()
  if(sources)
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC ${stage})
    target_link_libraries(${name} PUBLIC ${LAYER_USES} ${LAYER_EXTERNAL} PRIVATE tarvolo_warnings)
  else()
    add_library(${name} INTERFACE)
    target_include_directories(${name} INTERFACE ${stage})
    target_link_libraries(${name} INTERFACE ${LAYER_USES} ${LAYER_EXTERNAL})
  endif()
endfunction()
