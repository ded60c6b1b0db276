# One function per kind of target, so that each folder's CMakeLists.txt only lists its files.

# A floor of the product: a static library that may use only the floors named after USES.
function(tavix_add_floor name)
    cmake_parse_arguments(ARG "" "" "SOURCES;USES;SYSTEM_LIBRARIES" ${ARGN})
    add_library(tavix_${name} STATIC ${ARG_SOURCES})
    add_library(tavix::${name} ALIAS tavix_${name})
    target_include_directories(tavix_${name} PUBLIC ${CMAKE_SOURCE_DIR})
    target_link_libraries(tavix_${name} PRIVATE tavix_product_options)
    # A function that several system libraries have is taken from the one that its own floor names.
    target_link_libraries(tavix_${name} PUBLIC ${ARG_SYSTEM_LIBRARIES})
    foreach(floor IN LISTS ARG_USES)
        target_link_libraries(tavix_${name} PUBLIC tavix::${floor})
    endforeach()
endfunction()

# A DLL that ships, as target TARGET: NAME.def says what it exports, everything else stays inside; the rest are the
# libraries that it is made of. A copy without debug information goes to the folder "package", target TARGET_stripped.
function(tavix_add_product_dll target name)
    add_library(${target} SHARED ${name}.def)
    set_target_properties(${target} PROPERTIES PREFIX "" OUTPUT_NAME ${name} LINKER_LANGUAGE CXX)
    target_link_libraries(${target} PRIVATE tavix_product_options tavix_module_entry tavix_dll_runtime
        tavix_dll_startup ${ARGN})
    # The oldest supported system.
    target_link_options(${target} PRIVATE
        -Wl,--major-subsystem-version=5,--minor-subsystem-version=2
        -Wl,--major-os-version=5,--minor-os-version=2)
    set(shipped ${CMAKE_BINARY_DIR}/package/${name}.dll)
    add_custom_command(OUTPUT ${shipped}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/package
        COMMAND ${CMAKE_STRIP} --strip-all -o ${shipped} $<TARGET_FILE:${target}>
        DEPENDS ${target}
        VERBATIM)
    add_custom_target(${target}_stripped ALL DEPENDS ${shipped})
endfunction()

# Most of a build's time is spent on the tests, and nobody waits for how fast they compute.
function(tavix_build_quickly name)
    target_compile_options(${name} PRIVATE -O0 -g1)
    tavix_link_quickly(${name})
endfunction()

# For programs that do not ship.
function(tavix_link_quickly name)
    set_target_properties(${name} PROPERTIES RULE_LAUNCH_LINK ${CMAKE_SOURCE_DIR}/scripts/lib/quick_link)
endfunction()

# Tests that several programs run, compiled once; a program lists $<TARGET_OBJECTS:name> among its sources.
function(tavix_add_test_objects name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} OBJECT ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE tavix_warnings tavix_test_support ${ARG_LINKS})
    tavix_build_quickly(${name})
    target_precompile_headers(${name} REUSE_FROM tavix_test_headers)
endfunction()

# A test program. LEVEL is unit, ui, driver or system (CONTRIBUTING.md): all but unit tests share one desktop and one
# simulated driver, so they never run beside each other. Unit tests that show windows say DESKTOP: they would take the
# focus and the clipboard from the others.
function(tavix_add_test name)
    cmake_parse_arguments(ARG "DESKTOP" "LEVEL" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE tavix_warnings tavix_test_support ${ARG_LINKS})
    tavix_build_quickly(${name})
    target_precompile_headers(${name} REUSE_FROM tavix_test_headers)
    set(report ${CMAKE_BINARY_DIR}/test-results/${name}.json)
    add_test(NAME ${name} COMMAND ${CMAKE_SOURCE_DIR}/scripts/lib/run_test_program ${report}
        ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}> --gtest_output=json:Z:${report})
    set_tests_properties(${name} PROPERTIES LABELS ${ARG_LEVEL} TIMEOUT 600)
    if(ARG_DESKTOP OR NOT ARG_LEVEL STREQUAL "unit")
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK desktop)
    endif()
endfunction()

# A benchmark program, which scripts/bench finds in the list that is kept here. The program itself is optimized for
# speed, so that header-only peers show what they can; the floors keep the options that they ship with.
function(tavix_add_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_compile_options(${name} PRIVATE -O2)
    tavix_link_quickly(${name})
    target_link_libraries(${name} PRIVATE tavix_warnings tavix_bench_harness ${ARG_LINKS})
    file(APPEND ${CMAKE_BINARY_DIR}/bench/programs.txt "${name}\n")
endfunction()

# A kernel driver: freestanding, no runtime library, loaded by the system as NAME.sys.
function(tavix_add_driver name)
    cmake_parse_arguments(ARG "" "" "SOURCES" ${ARGN})
    add_library(${name} MODULE ${ARG_SOURCES})
    set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX ".sys")
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
    target_include_directories(${name} SYSTEM PRIVATE /usr/x86_64-w64-mingw32/include/ddk)
    target_link_libraries(${name} PRIVATE tavix_warnings ntoskrnl hal gcc)
    target_compile_options(${name} PRIVATE
        -ffreestanding -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-stack-protector -fno-asynchronous-unwind-tables)
    target_link_options(${name} PRIVATE -nostdlib -Wl,--exclude-all-symbols -Wl,--subsystem,native -Wl,-e,DriverEntry)
endfunction()

# Icon files with the given sizes, each NAME.ico drawn from icons/NAME.svg; RESULT becomes the list of their paths.
function(tavix_add_icons result)
    cmake_parse_arguments(ARG "" "" "SIZES;NAMES" ${ARGN})
    foreach(icon IN LISTS ARG_NAMES)
        set(drawing ${CMAKE_CURRENT_SOURCE_DIR}/icons/${icon}.svg)
        set(ico ${CMAKE_CURRENT_BINARY_DIR}/${icon}.ico)
        set(images "")
        set(commands "")
        foreach(size IN LISTS ARG_SIZES)
            set(image ${CMAKE_CURRENT_BINARY_DIR}/${icon}-${size}.png)
            list(APPEND images ${image})
            list(APPEND commands COMMAND rsvg-convert -w ${size} -h ${size} -o ${image} ${drawing})
        endforeach()
        add_custom_command(OUTPUT ${ico}
            ${commands}
            COMMAND icotool --create -o ${ico} ${images}
            DEPENDS ${drawing}
            BYPRODUCTS ${images}
            COMMENT "Drawing ${icon}.ico"
            VERBATIM)
        list(APPEND icon_files ${ico})
    endforeach()
    set(${result} ${icon_files} PARENT_SCOPE)
endfunction()
