# What is built beside the module. The module alone needs nothing but a compiler: the others want header libraries, and the
# tests the sources of googletest.

# rav_part(NAME TEXT [PARTS...]): the option RAV_BUILD_NAME, which is on unless one of the parts that it needs is off.
function(rav_part name text)
    set(missing "")
    foreach(part ${ARGN})
        if(NOT RAV_BUILD_${part})
            list(APPEND missing RAV_BUILD_${part})
        endif()
    endforeach()
    if(missing)
        set(default OFF)
    else()
        set(default ON)
    endif()
    option(RAV_BUILD_${name} "${text}" ${default})
    if(RAV_BUILD_${name} AND missing)
        list(JOIN missing " and " missing)
        message(FATAL_ERROR "RAV_BUILD_${name} needs ${missing}: switch on what is off, or RAV_BUILD_${name} off.")
    endif()
endfunction()

rav_part(TOOLS "The command line, vlanctl")
rav_part(LAB "The lab, which stands in for what the module meets")
rav_part(TESTS "The tests" TOOLS LAB)
rav_part(BENCH "The benchmarks; they share the harness of the tests" LAB TESTS)
