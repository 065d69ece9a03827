# Installs BUILD, compares the tree and the DLL's exports with what is promised, then builds and runs a client of it.
set(tree "${BUILD}/install-test/tree")
set(client "${BUILD}/install-test/client")
file(REMOVE_RECURSE "${BUILD}/install-test")

function(run variable)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${output}")
    endif()
    set(${variable} "${output}" PARENT_SCOPE)
endfunction()

function(compare what expected actual)
    list(SORT expected)
    list(SORT actual)
    if(NOT expected STREQUAL actual)
        message(FATAL_ERROR "${what}\nexpected: ${expected}\nactual:   ${actual}")
    endif()
endfunction()

file(GLOB module RELATIVE "${CMAKE_CURRENT_LIST_DIR}/../../Tools" "${CMAKE_CURRENT_LIST_DIR}/../../Tools/powershell/VlanAgent/*")
run(output ${CMAKE_COMMAND} --install "${BUILD}" --prefix "${tree}" --strip)
file(GLOB_RECURSE files RELATIVE "${tree}" "${tree}/*")
list(FILTER files EXCLUDE REGEX "^include/")
compare("the installed files"
    "bin/VlanAgent.dll;bin/vlanctl.exe;bin/VlanAgent.dsc.resource.json;lib/libVlanAgent.dll.a;lib/libRavCommon.a;lib/libRavSettings.a;\
lib/cmake/VlanAgent/VlanAgentConfig.cmake;lib/cmake/VlanAgent/VlanAgentConfigVersion.cmake;README.md;CHANGELOG.md;\
docs/registry.md;docs/trace-log.md;docs/vlanctl.md;docs/doctor.md;docs/apply.md;docs/vlan-configuration.schema.json;\
docs/powershell.md;docs/fleet.md;${module}" "${files}")

run(output ${OBJDUMP} -p "${tree}/bin/VlanAgent.dll")
string(REGEX MATCHALL "\n\t\\[ *[0-9]+\\] [A-Za-z_][^\n]*" lines "${output}")
list(TRANSFORM lines REPLACE "^.*\\] ([^ ]+).*$" "\\1")
set(face _ZN17CRavVlanAgentIntf)
compare("the exports of VlanAgent.dll"
    "GetVlanAgent;GetVlanAgentPvt;${face}C1Ev;${face}C2Ev;${face}C1ERKS_;${face}C2ERKS_;${face}D0Ev;${face}D1Ev;${face}D2Ev"
    "${lines}")

# Each header on its own, as a client may include it first.
file(GLOB_RECURSE headers RELATIVE "${tree}/include" "${tree}/include/*")
foreach(header ${headers})
    run(output ${CXX} -std=c++20 -Wall -Wextra -Werror -fsyntax-only "-I${tree}/include"
        -include "${header}" -x c++ /dev/null)
endforeach()

run(output ${CMAKE_COMMAND} -S "${CMAKE_CURRENT_LIST_DIR}" -B "${client}" -G Ninja "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}"
    "-DVlanAgent_DIR=${tree}/lib/cmake/VlanAgent")
run(output ${CMAKE_COMMAND} --build "${client}")
run(output "${EMULATOR}" "${client}/client.exe")
message("${output}")
if(NOT output MATCHES "VlanAgent.dll is loaded")
    message(FATAL_ERROR "the client says: ${output}")
endif()
run(output "${EMULATOR}" "${tree}/bin/vlanctl.exe" --version)
if(NOT output MATCHES "vlanctl ${VERSION}")
    message(FATAL_ERROR "vlanctl says: ${output}")
endif()
