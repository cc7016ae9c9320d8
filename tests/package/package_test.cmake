# Installs the built library into a fresh folder and builds and runs a program from outside the tree
# with nothing but that. Called with: build (the build directory), work (a directory for this test),
# compiler, toolchain, generator, flags, emulator, pkg_config (empty: that part is left out).
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nended with ${result}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# run_program(executable): it must log, format and read a setting back.
function(run_program executable)
  run(${emulator} ${executable})
  string(REPLACE "\r" "" output "${output}")
  foreach(wanted IN ITEMS "; -1 of 7 done; main()\n" "interval 250 ms\n")
    string(FIND "${output}" "${wanted}" place)
    if(place EQUAL -1)
      message(FATAL_ERROR "${executable} does not say '${wanted}' but:\n${output}")
    endif()
  endforeach()
endfunction()

set(prefix ${work}/prefix)
file(REMOVE_RECURSE ${prefix} ${work}/outside)
run(${CMAKE_COMMAND} --install ${build} --prefix ${prefix})

# Nothing of the stand-in or of the library's inside may become somebody's interface.
file(GLOB_RECURSE headers RELATIVE ${prefix}/include ${prefix}/include/*)
foreach(header IN LISTS headers)
  if(NOT header MATCHES "^kr/(kr\\.h|platform/types\\.h|(base|log|printf|result|settings)/)")
    message(FATAL_ERROR "${header} is installed")
  endif()
endforeach()

set(system_options)
if(toolchain)
  set(system_options --toolchain ${toolchain})
endif()
run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/outside -B ${work}/outside -G ${generator}
  ${system_options} -DCMAKE_CXX_COMPILER=${compiler} -DCMAKE_CXX_FLAGS=${flags}
  -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${work}/outside)
file(GLOB executable ${work}/outside/program ${work}/outside/program.exe)
run_program(${executable})

if(pkg_config)
  set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
  run(${pkg_config} --cflags --libs kr)
  separate_arguments(options UNIX_COMMAND "${output}")
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${compiler} ${flags} ${CMAKE_CURRENT_LIST_DIR}/outside/program.cpp ${options}
    -o ${work}/program_by_pkg_config)
  run_program(${work}/program_by_pkg_config)
endif()
