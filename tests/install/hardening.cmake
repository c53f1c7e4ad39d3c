# Configures the release preset of SOURCE in BUILD: every source is compiled with the hardening flags that COMPILER takes.
execute_process(COMMAND ${CMAKE_COMMAND} --preset release -B ${BUILD} -DCMAKE_CXX_COMPILER=${COMPILER}
  WORKING_DIRECTORY ${SOURCE} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
file(READ ${BUILD}/compile_commands.json commands)
string(REGEX MATCHALL "\"command\": [^\n]+" commands "${commands}")
foreach(flag IN ITEMS -D_FORTIFY_SOURCE=2 -D_GLIBCXX_ASSERTIONS -fstack-protector-strong -fstack-clash-protection
    -fcf-protection=full)
  execute_process(COMMAND ${COMPILER} ${flag} -x c++ -c /dev/null -o /dev/null RESULT_VARIABLE refused ERROR_QUIET)
  set(without ${commands})
  list(FILTER without EXCLUDE REGEX " ${flag} ")
  if(without AND NOT refused)
    list(GET without 0 one)
    message(SEND_ERROR "a release is compiled without ${flag}: ${one}")
  endif()
endforeach()
