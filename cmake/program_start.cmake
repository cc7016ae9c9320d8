# What a program has besides its own sources, by system: the files below lib/platform/*/program.

# kr_add_windows_start(target): the entry that comes before the runtime's.
function(kr_add_windows_start target)
  set(directory ${PROJECT_SOURCE_DIR}/lib/platform/windows/program)
  target_sources(${target} PRIVATE ${directory}/start.cpp ${directory}/terminate.cpp)
  target_link_options(${target} PRIVATE -municode -Wl,--entry,kr_start)
endfunction()

# kr_add_host_start(target image): main, and the driver image among the program's resources.
function(kr_add_host_start target image)
  set(directory ${PROJECT_SOURCE_DIR}/lib/platform/host/program)
  set(resource ${CMAKE_CURRENT_BINARY_DIR}/${target}_resource.cpp)
  configure_file(${directory}/driver_resource.cpp.in ${resource} @ONLY)
  set_source_files_properties(${resource} PROPERTIES OBJECT_DEPENDS ${image})
  target_sources(${target} PRIVATE ${directory}/start.cpp ${resource})
endfunction()
