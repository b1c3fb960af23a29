# What every target of the tree has in common, and the functions that add tests.

set(FISHEYE_SANITIZE "" CACHE STRING "Sanitizers to build everything with, e.g. address,undefined")
option(FISHEYE_COVERAGE "Instrument for source-based coverage (clang 19)" OFF)

# fisheye_target(<target>): language level, warnings, visibility and instrumentation.
function(fisheye_target target)
    target_compile_features(${target} PUBLIC cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    # Results must not depend on whether the processor fuses a multiplication and an addition (but
    # for optics/Projection.cpp, which asks for it).
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Woverloaded-virtual -Wconversion -Wno-sign-conversion -ffp-contract=off)
    if(FISHEYE_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${FISHEYE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${FISHEYE_SANITIZE})
        # An entry point and its caller meet by name alone: each declares the record for itself.
        if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND FISHEYE_SANITIZE MATCHES "undefined")
            target_compile_options(${target} PRIVATE -fno-sanitize=function)
        endif()
    endif()
    if(FISHEYE_COVERAGE)
        target_compile_options(${target} PRIVATE
            -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc)
        target_link_options(${target} PRIVATE -fprofile-instr-generate)
    endif()
endfunction()

# fisheye_install_by_name(<target> <link>): installs a library that is opened by a file name of its
# own. ldconfig only looks at files called lib*.so*, but keeps them under their SONAME: with the link
# beside the library the loader finds it in every directory that ldconfig knows.
function(fisheye_install_by_name target link)
    install(TARGETS ${target} LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}")
    if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
        set(links "${CMAKE_CURRENT_BINARY_DIR}/links")
        file(MAKE_DIRECTORY "${links}")
        get_target_property(prefix ${target} PREFIX)
        get_target_property(name ${target} OUTPUT_NAME)
        get_target_property(suffix ${target} SUFFIX)
        file(CREATE_LINK "${prefix}${name}${suffix}" "${links}/${link}" SYMBOLIC)
        install(FILES "${links}/${link}" DESTINATION "${CMAKE_INSTALL_LIBDIR}")
    endif()
endfunction()

# fisheye_add_test(<name> SOURCES <file>... [LIBRARIES <target>...] [ENVIRONMENT <VAR=value>...]
#                  [LABELS <label>...] [TIMEOUT <seconds>]): a GoogleTest program, one CTest test.
function(fisheye_add_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LIBRARIES;ENVIRONMENT;LABELS" ${ARGN})
    find_package(GTest REQUIRED)
    add_executable(${name} ${ARG_SOURCES})
    fisheye_target(${name})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gmock_main)
    add_test(NAME ${name} COMMAND ${name})
    if(FISHEYE_SANITIZE MATCHES "address")
        # A callback that is still in a frame that has returned is only seen if it is looked for.
        list(APPEND ARG_ENVIRONMENT "ASAN_OPTIONS=detect_stack_use_after_return=1")
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 1800)
    endif()
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT "${ARG_ENVIRONMENT}" LABELS "${ARG_LABELS}" TIMEOUT ${ARG_TIMEOUT})
endfunction()
