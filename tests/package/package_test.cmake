# The library in a stranger's hands: installed into a fresh folder and found from there, or taken in as
# sources, by a project from outside the tree. Called with: source (the project), build (its build
# directory), work (a directory for this test), compiler, toolchain, generator, flags, emulator,
# pkg_config (empty: that part is left out).
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
  foreach(wanted IN ITEMS "; -1 of 7 done; run_part()\n" "interval 250 ms\n")
    string(FIND "${output}" "${wanted}" place)
    if(place EQUAL -1)
      message(FATAL_ERROR "${executable} does not say '${wanted}' but:\n${output}")
    endif()
  endforeach()
endfunction()

set(prefix ${work}/prefix)
file(REMOVE_RECURSE ${prefix})
run(${CMAKE_COMMAND} --install ${build} --prefix ${prefix})

# Nothing of the stand-in or of the library's inside may become somebody's interface.
file(GLOB_RECURSE headers RELATIVE ${prefix}/include ${prefix}/include/*)
foreach(header IN LISTS headers)
  if(NOT header MATCHES "^kr/((kr|owners)\\.h|platform/types\\.h|(base|log|printf|result|settings)/)")
    message(FATAL_ERROR "${header} is installed")
  endif()
endforeach()

# build_outside(name options...): the outside project in a folder of its own, built and run.
function(build_outside name)
  set(system_options)
  if(toolchain)
    set(system_options --toolchain ${toolchain})
  endif()
  file(REMOVE_RECURSE ${work}/${name})
  run(${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/outside -B ${work}/${name} -G ${generator}
    ${system_options} -DCMAKE_CXX_COMPILER=${compiler} -DCMAKE_CXX_FLAGS=${flags} ${ARGN})
  run(${CMAKE_COMMAND} --build ${work}/${name})
  file(GLOB executable ${work}/${name}/program ${work}/${name}/program.exe)
  run_program(${executable})
endfunction()

build_outside(installed -DCMAKE_PREFIX_PATH=${prefix})

# As sources: nothing of the library may come into the installation of the program. It is built anew, so
# once is enough.
if(NOT flags MATCHES "sanitize" AND NOT toolchain)
  build_outside(fetched -DKR_SOURCE=${source} -DKR_PRECOMPILE=ON -DBUILD_SHARED_LIBS=ON
    -DCMAKE_INSTALL_PREFIX=${work}/fetched/prefix)
  run(${CMAKE_COMMAND} --install ${work}/fetched)
  file(GLOB_RECURSE files RELATIVE ${work}/fetched/prefix ${work}/fetched/prefix/*)
  list(FILTER files EXCLUDE REGEX "(program|part)(\\.exe|\\.dll|\\.so|\\.dll\\.a)?$")
  if(files)
    message(FATAL_ERROR "the program's installation holds ${files}")
  endif()
endif()

if(pkg_config)
  set(ENV{PKG_CONFIG_PATH} ${prefix}/lib/pkgconfig)
  run(${pkg_config} --cflags --libs kr)
  separate_arguments(options UNIX_COMMAND "${output}")
  separate_arguments(flags UNIX_COMMAND "${flags}")
  set(outside ${CMAKE_CURRENT_LIST_DIR}/outside)
  run(${compiler} ${flags} -I ${outside} ${outside}/program.cpp ${outside}/part.cpp ${options}
    -o ${work}/program_by_pkg_config)
  run_program(${work}/program_by_pkg_config)

  # Other layouts: where the package file says that the folders are.
  set(other ${work}/other)
  foreach(layout IN ITEMS lib/x86_64-linux-gnu ${other}/elsewhere/lib)
    file(REMOVE_RECURSE ${other})
    run(${CMAKE_COMMAND} -S ${source} -B ${other}/build -G ${generator} -DKR_PROBE=OFF -DKR_TESTS=OFF
      -DCMAKE_CXX_COMPILER=${compiler} -DCMAKE_INSTALL_PREFIX=${other} -DCMAKE_INSTALL_LIBDIR=${layout})
    cmake_path(ABSOLUTE_PATH layout BASE_DIRECTORY ${other} OUTPUT_VARIABLE libdir)
    file(COPY ${other}/build/lib/kr.pc DESTINATION ${libdir}/pkgconfig)
    set(ENV{PKG_CONFIG_PATH} ${libdir}/pkgconfig)
    foreach(variable wanted IN ZIP_LISTS "libdir;includedir" "${libdir};${other}/include/kr")
      run(${pkg_config} --variable=${variable} kr)
      string(STRIP "${output}" place)
      cmake_path(NORMAL_PATH place)
      if(NOT place STREQUAL wanted)
        message(FATAL_ERROR "kr.pc for ${layout} says ${variable} is ${place}")
      endif()
    endforeach()
  endforeach()
endif()
