# kr_add_host_start(target image): what a program of the stand-in has besides its own sources: main,
# and the driver image among its resources.
function(kr_add_host_start target image)
  set(directory ${PROJECT_SOURCE_DIR}/lib/platform/host/program)
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}_resource.cpp)
  configure_file(${directory}/driver_resource.cpp.in ${resource} @ONLY)
  set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS ${image})
  target_sources(${target} PRIVATE ${directory}/start.cpp ${resource})
endfunction()
