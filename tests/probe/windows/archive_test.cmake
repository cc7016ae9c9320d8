# Packs the archive and looks into it. Called with: build (the build directory), program (its
# loadprobe.exe), name (of the archive), work (a directory for this test).
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work})
execute_process(COMMAND ${CMAKE_CPACK_COMMAND} -G ZIP -B ${work} --config ${build}/CPackConfig.cmake
  RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "cpack ended with ${result}:\n${output}")
endif()
file(ARCHIVE_EXTRACT INPUT ${work}/${name}.zip DESTINATION ${work}/content)

file(GLOB_RECURSE files RELATIVE ${work}/content ${work}/content/*)
list(SORT files)
set(expected ADMINS.txt LICENSE.txt loadprobe.exe log_defaults.reg log_everything_to_console.reg
  log_quiet.reg log_to_console.reg log_to_event_log.reg log_to_file.reg)
list(TRANSFORM expected PREPEND ${name}/)
if(NOT files STREQUAL expected)
  message(FATAL_ERROR "the archive holds ${files}\nexpected     ${expected}")
endif()

set(folder ${work}/content/${name})
file(SHA256 ${program} built)
file(SHA256 ${folder}/loadprobe.exe packed)
if(NOT built STREQUAL packed)
  message(FATAL_ERROR "the archive holds another program than the one that was built")
endif()

# Notepad on the oldest system that the program is for shows lines that end in LF alone as one.
file(READ ${folder}/ADMINS.txt notes)
file(READ ${folder}/ADMINS.txt bytes HEX)
if(NOT bytes MATCHES "0d0a" OR notes MATCHES "@[A-Za-z_]+@")
  message(FATAL_ERROR "ADMINS.txt has the wrong line ends, or a name in it was not replaced")
endif()
