# Installs into a folder of its own, builds the example plug-in against that, and runs it with the
# installed program.
string(RANDOM LENGTH 12 name)
set(folder ${BINARY_DIR}/Testing/example_${name})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output
                    ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        file(REMOVE_RECURSE ${folder})
        message(FATAL_ERROR "${ARGN}: ${status}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BINARY_DIR} --prefix ${folder}/installed)
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/plugin -B ${folder}/build
    -DCMAKE_PREFIX_PATH=${folder}/installed -DCMAKE_CXX_COMPILER=${COMPILER})
run(${CMAKE_COMMAND} --build ${folder}/build)
run(${folder}/installed/bin/cadencora run ${SOURCE_DIR}/docs/examples/ball.stage
    --plugin ${folder}/build/scale_values.so
    --press "Scale Values" --select Ball --set Factor=3 -o ${folder}/scaled.stage)
if(NOT output MATCHES "18 keys scaled.*12 changed")
    message(FATAL_ERROR "${output}")
endif()
run(${folder}/installed/bin/cadencora panels) # with the plug-in that was installed
file(REMOVE_RECURSE ${folder})
