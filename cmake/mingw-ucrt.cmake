# Cross build for Windows x86-64 against the Universal C Runtime.
#
# Debian's compiler targets msvcrt, whose bounded copies end the process instead of calling the
# invalid-parameter handler. The UCRT import library is installed beside it, so the compiler's own
# specs, with the runtime library exchanged, are enough.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# try_compile runs this file again in a scratch folder: the specs are made once, in the first one.
if(NOT DEFINED ENV{RAV_UCRT_SPECS})
    set(ENV{RAV_UCRT_SPECS} "${CMAKE_BINARY_DIR}/ucrt.specs")
endif()
set(RAV_UCRT_SPECS "$ENV{RAV_UCRT_SPECS}")
if(NOT EXISTS "${RAV_UCRT_SPECS}")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpspecs OUTPUT_VARIABLE specs COMMAND_ERROR_IS_FATAL ANY)
    string(REPLACE "-lmsvcrt" "-lucrt" specs "${specs}")
    string(REPLACE "-lmoldname" "" specs "${specs}")
    file(WRITE "${RAV_UCRT_SPECS}" "${specs}")
endif()

set(CMAKE_C_FLAGS_INIT "-specs=${RAV_UCRT_SPECS} -D_UCRT")
set(CMAKE_CXX_FLAGS_INIT "-specs=${RAV_UCRT_SPECS} -D_UCRT")
# winpthreads was built for msvcrt and still asks for its _setjmp. What is shipped has the compiler's own linker, which takes
# ten seconds for a test program; LLVM's, for all else, takes a quarter of one. Sections that begin at pages of the file are
# mapped by Wine, not read, with all their debug information, whenever a program starts.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set(link_flags "-Wl,--defsym,_setjmp=__intrinsic_setjmp")
else()
    find_program(RAV_LLD ld.lld REQUIRED)
    set(RAV_LINKER_SPECS "${RAV_UCRT_SPECS}.linker")
    if(NOT EXISTS "${RAV_LINKER_SPECS}")
        file(WRITE "${RAV_LINKER_SPECS}" "*linker:\n${RAV_LLD}\n\n")
    endif()
    set(link_flags "-specs=${RAV_LINKER_SPECS} -fno-use-linker-plugin")
    string(APPEND link_flags " -Wl,-Xlink=-alternatename:_setjmp=__intrinsic_setjmp -Wl,-Xlink=-filealign:4096")
endif()
string(APPEND link_flags " -static -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${link_flags}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${link_flags}")

# Tests run where the build ran.
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../scripts/wine.sh")
