# Installs the build into an empty folder, moves that folder, and builds and runs a host against it: once found by
# find_package, once by pkg-config where that program exists.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}\nended with ${status}:\n${output}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/installed)
file(RENAME ${WORK_DIR}/installed ${WORK_DIR}/moved)

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/consumer -G ${GENERATOR}
  -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_PREFIX_PATH=${WORK_DIR}/moved)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/consumer)
run(${WORK_DIR}/consumer/consumer)

find_program(pkg_config NAMES pkg-config pkgconf)
if(pkg_config)
  set(ENV{PKG_CONFIG_PATH} ${WORK_DIR}/moved/${LIBDIR}/pkgconfig)
  execute_process(COMMAND ${pkg_config} --cflags --libs zrbbase OUTPUT_VARIABLE flags
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${COMPILER} -std=c++20 -o ${WORK_DIR}/by_pkg_config ${CONSUMER_DIR}/consumer.cpp ${flags}
    -Wl,-rpath,${WORK_DIR}/moved/${LIBDIR})
  run(${WORK_DIR}/by_pkg_config)
endif()
