# What every target of the project has in common.

if(NOT MSVC)
    # Headers of other people's (Windows, libraries) are system headers; these flags are for our own code.
    add_library(RavWarnings INTERFACE)
    # GCC 12 sees overlapping copies in its own std::string where there are none.
    target_compile_options(RavWarnings INTERFACE -Wall -Wextra -Wpedantic -Werror -Wno-restrict)
else()
    # Warnings are no errors here: this compiler is not tried with each change. /Zc:preprocessor is for __VA_OPT__, and the
    # headers of Windows are not written for it (C5105). Calls that it holds for unsafe are bounded by their callers.
    add_library(RavWarnings INTERFACE)
    set(options /W4 /wd5105 /utf-8 /permissive- /Zc:__cplusplus /Zc:preprocessor)
    target_compile_options(RavWarnings INTERFACE "$<$<COMPILE_LANGUAGE:C,CXX>:${options}>")
    target_compile_definitions(RavWarnings INTERFACE _CRT_SECURE_NO_WARNINGS _CRT_NONSTDC_NO_WARNINGS)
endif()
target_compile_definitions(RavWarnings INTERFACE WINVER=0x0A00 _WIN32_WINNT=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN)

if(RAV_HARDENED)
    add_compile_options(-fsanitize=undefined -fsanitize-undefined-trap-on-error)
    add_compile_definitions($<$<COMPILE_LANGUAGE:CXX>:_GLIBCXX_ASSERTIONS>)
    # Each module has the code, all of a process share one heap.
    add_library(RavGuardHeap OBJECT "${CMAKE_SOURCE_DIR}/Tests/Harness/GuardHeap.cpp")
    target_compile_options(RavGuardHeap PRIVATE -O2) # it stands behind every line of the tests
    target_link_libraries(RavGuardHeap PRIVATE RavWarnings)
endif()

# rav_library(NAME sources...): a static library of our own code, included from the project's root.
function(rav_library name)
    add_library(${name} STATIC ${ARGN})
    rav_common(${name})
endfunction()

# rav_module(NAME sources...): a DLL without the "lib" prefix.
function(rav_module name)
    add_library(${name} SHARED ${ARGN})
    set_target_properties(${name} PROPERTIES PREFIX "")
    rav_common(${name})
    rav_harden(${name})
endfunction()

# rav_program(NAME sources...): a console program.
function(rav_program name)
    add_executable(${name} ${ARGN})
    rav_common(${name})
    rav_harden(${name})
endfunction()

function(rav_common name)
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE RavWarnings)
endfunction()

function(rav_harden name)
    if(RAV_HARDENED)
        target_link_libraries(${name} PRIVATE RavGuardHeap)
        target_sources(${name} PRIVATE $<TARGET_OBJECTS:RavGuardHeap>)
    endif()
endfunction()

# rav_version(NAME FILE DESCRIPTION): gives a program or DLL the project's version as its version resource.
function(rav_version name file description)
    set(RAV_FILE_NAME "${file}")
    set(RAV_FILE_DESCRIPTION "${description}")
    get_target_property(type ${name} TYPE)
    if(type STREQUAL SHARED_LIBRARY)
        set(RAV_FILE_TYPE VFT_DLL)
    else()
        set(RAV_FILE_TYPE VFT_APP)
    endif()
    configure_file("${CMAKE_SOURCE_DIR}/Src/Exports/Version.rc.in" "${CMAKE_CURRENT_BINARY_DIR}/${name}.version.rc" @ONLY)
    target_sources(${name} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${name}.version.rc")
endfunction()
