# tev_mojom_library(<target> INCLUDE_PREFIX <prefix> SOURCES <a.mojom>... [LIBS <libs>...])
# Generates C++ bindings at build time into <build>/gen/<prefix>/ and builds them as a static
# library with hidden symbols, so that every binary carries its own copy.
set(TEV_MOJOM_GENERATOR ${CMAKE_CURRENT_LIST_DIR}/../platform/mojo/generator)

function(tev_mojom_library target)
  cmake_parse_arguments(ARG "" "INCLUDE_PREFIX" "SOURCES;LIBS" ${ARGN})
  set(gen_root ${CMAKE_BINARY_DIR}/gen)
  set(out_dir ${gen_root}/${ARG_INCLUDE_PREFIX})
  file(GLOB generator_sources ${TEV_MOJOM_GENERATOR}/*.py)
  set(mojom_files)
  foreach(source ${ARG_SOURCES})
    list(APPEND mojom_files ${CMAKE_CURRENT_SOURCE_DIR}/${source})
  endforeach()
  set(outputs)
  foreach(source ${ARG_SOURCES})
    get_filename_component(name ${source} NAME)
    set(header ${out_dir}/${name}.h)
    set(implementation ${out_dir}/${name}.cc)
    add_custom_command(
      OUTPUT ${header} ${implementation}
      COMMAND Python3::Interpreter ${TEV_MOJOM_GENERATOR}/mojom_generator.py
              --output-dir ${out_dir} --include-prefix ${ARG_INCLUDE_PREFIX}
              ${CMAKE_CURRENT_SOURCE_DIR}/${source}
      DEPENDS ${generator_sources} ${mojom_files}
      COMMENT "Generating bindings for ${source}"
      VERBATIM)
    list(APPEND outputs ${header} ${implementation})
  endforeach()
  add_library(${target} STATIC ${outputs})
  target_include_directories(${target} PUBLIC ${gen_root})
  target_link_libraries(${target} PUBLIC mojo ${ARG_LIBS})
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  tev_project_target(${target})
endfunction()
