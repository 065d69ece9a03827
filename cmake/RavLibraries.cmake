# Header-only libraries. A cross build takes the host's, through links of our own: the host's include folder as a whole would
# give the cross compiler the host's C headers.

# rav_header_library(VARIABLE NAME): sets VARIABLE to a folder that holds NAME/.
function(rav_header_library variable name)
    if(CMAKE_CROSSCOMPILING)
        find_path(RAV_${name}_PARENT NAMES ${name} PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH NO_DEFAULT_PATH)
    else()
        find_path(RAV_${name}_PARENT NAMES ${name})
    endif()
    if(NOT RAV_${name}_PARENT)
        message(FATAL_ERROR "The headers of ${name} are missing; set RAV_${name}_PARENT to the folder that holds them.")
    endif()
    if(NOT CMAKE_CROSSCOMPILING)
        set(${variable} "${RAV_${name}_PARENT}" PARENT_SCOPE)
        return()
    endif()
    set(folder "${CMAKE_BINARY_DIR}/headers/${name}")
    file(MAKE_DIRECTORY "${folder}")
    file(CREATE_LINK "${RAV_${name}_PARENT}/${name}" "${folder}/${name}" SYMBOLIC COPY_ON_ERROR)
    set(${variable} "${folder}" PARENT_SCOPE)
endfunction()

rav_header_library(RAV_CLI11_INCLUDE CLI)
rav_header_library(RAV_JSON_INCLUDE nlohmann)
# The compiler's std::filesystem was built for another C runtime; the command-line library can do without.
add_library(RavCommandLine INTERFACE)
target_include_directories(RavCommandLine SYSTEM INTERFACE "${RAV_CLI11_INCLUDE}")
target_compile_definitions(RavCommandLine INTERFACE CLI11_HAS_FILESYSTEM=0)
