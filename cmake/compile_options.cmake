# Language, warnings and code generation that hold for every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

option(TAVIX_TRAP_UNDEFINED "Trap on undefined behavior (an illegal-instruction crash)" OFF)

# winedbg reads function names and lines only from DWARF 4.
add_compile_options(-g -gdwarf-4 -ffunction-sections -fdata-sections)
add_link_options(-static -Wl,--gc-sections)
add_compile_definitions(UNICODE _UNICODE)

add_library(tavix_warnings INTERFACE)
target_compile_options(tavix_warnings INTERFACE
    -Wall -Wextra -Wshadow -Wconversion -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wno-missing-field-initializers -Wno-cast-function-type>)

# What the product's own code adds: no RTTI and no exceptions; `new` is null without memory (base/dll_runtime.cpp); stack
# protection with our own guard (base/stack_guard.cpp).
add_library(tavix_product_options INTERFACE)
target_link_libraries(tavix_product_options INTERFACE tavix_warnings)
target_compile_options(tavix_product_options INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-rtti -fno-exceptions -fcheck-new> -fstack-protector-strong)
if(TAVIX_TRAP_UNDEFINED)
    target_compile_options(tavix_product_options INTERFACE
        -fsanitize=undefined -fsanitize-undefined-trap-on-error)
endif()
