# Header-only libraries of the build machine, for all presets: nlohmann_json_headers,
# cli11_headers, xxhash_headers.
#
# Their headers are copied out of /usr/include into the build tree. That folder itself must never be
# on a cross compiler's path: it would find this machine's C library there.

function(kel_header_library target subfolder)
    find_path(${target}_ROOT ${subfolder} PATHS /usr/local/include /usr/include
        NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(private_folder ${CMAKE_BINARY_DIR}/private/${target})
    file(COPY ${${target}_ROOT}/${subfolder} DESTINATION ${private_folder})
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${private_folder})
endfunction()

kel_header_library(nlohmann_json_headers nlohmann)
kel_header_library(cli11_headers CLI)
kel_header_library(xxhash_headers xxhash.h)
