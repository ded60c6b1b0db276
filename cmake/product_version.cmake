# TAVIX_VERSION, read from the header that is its one source.
set(version_header ${CMAKE_CURRENT_LIST_DIR}/../base/product_version.h)
file(STRINGS ${version_header} version_lines REGEX "^#define TAVIX_VERSION_")
string(REGEX REPLACE "[^;0-9]+" "" TAVIX_VERSION "${version_lines}")
string(REPLACE ";" "." TAVIX_VERSION "${TAVIX_VERSION}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${version_header})
