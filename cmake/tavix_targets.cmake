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

# A test program. LEVEL is unit, ui or system: ui and system tests share one desktop and one simulated
# driver, so they never run beside another of their kind.
function(tavix_add_test name)
    cmake_parse_arguments(ARG "" "LEVEL" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE tavix_warnings tavix_test_support ${ARG_LINKS})
    set(report ${CMAKE_BINARY_DIR}/test-results/${name}.json)
    add_test(NAME ${name} COMMAND ${CMAKE_SOURCE_DIR}/scripts/lib/run_test_program ${report}
        ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}> --gtest_output=json:Z:${report})
    set_tests_properties(${name} PROPERTIES LABELS ${ARG_LEVEL} TIMEOUT 600)
    if(NOT ARG_LEVEL STREQUAL "unit")
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK desktop)
    endif()
endfunction()

# A benchmark program, which scripts/bench finds in the list that is kept here. The program itself is optimised for
# speed, so that header-only peers show what they can; the floors keep the options that they ship with.
function(tavix_add_bench name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_compile_options(${name} PRIVATE -O2)
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
