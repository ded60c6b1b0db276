# Header-only libraries from Debian packages. /usr/include itself would hide the cross compiler's own headers, so
# each library is linked into a folder of its own.
function(tavix_add_debian_headers target folder)
    set(include_dir ${CMAKE_BINARY_DIR}/debian-headers/${folder})
    file(MAKE_DIRECTORY ${include_dir})
    file(CREATE_LINK /usr/include/${folder} ${include_dir}/${folder} SYMBOLIC)
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${include_dir})
endfunction()

tavix_add_debian_headers(debian_cli11 CLI)
tavix_add_debian_headers(debian_nlohmann_json nlohmann)
tavix_add_debian_headers(debian_fmt fmt)
target_compile_definitions(debian_fmt INTERFACE FMT_HEADER_ONLY)
