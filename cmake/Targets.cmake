# How every target of this project is made: one place for warnings, sanitizers and include paths.

add_library(fenlo_options INTERFACE)
target_include_directories(fenlo_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_options(fenlo_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Werror)
# g++ 12 sees overlaps and overflows in plain string concatenations at -O2 (GCC bug 105651).
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(fenlo_options INTERFACE -Wno-restrict -Wno-array-bounds -Wno-stringop-overflow)
endif()
# Some libraries' own flags have it; precompiled headers want it everywhere or nowhere.
target_compile_options(fenlo_options INTERFACE -pthread)
target_link_libraries(fenlo_options INTERFACE Threads::Threads)
# Some presets compile several files as one, which halves their time, and so does every preset with the tests. What is
# hidden in one file is then seen by its neighbours, and these two warnings speak of nothing else; the presets "release" and
# "debug" compile the program itself file by file, with all warnings.
if(CMAKE_UNITY_BUILD)
    target_compile_options(fenlo_options INTERFACE -Wno-shadow -Wno-subobject-linkage)
endif()
if(FENLO_SANITIZE)
    target_compile_options(fenlo_options INTERFACE -fsanitize=${FENLO_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(fenlo_options INTERFACE -fsanitize=${FENLO_SANITIZE})
    # Checks of every single pointer, which take a quarter of the time to compile; the address sanitizer stops at bad ones too.
    target_compile_options(fenlo_options INTERFACE
        -fno-sanitize=null,alignment,vptr,object-size,nonnull-attribute,returns-nonnull-attribute)
endif()
if(FENLO_LIBFUZZER)
    # The fuzzer sees the paths through objects that are compiled for it; undefined behaviour ends it like a bad access.
    target_compile_options(fenlo_options INTERFACE -fsanitize=fuzzer-no-link -fno-sanitize-recover=all)
endif()

# The code of tests is compiled often and runs briefly: it is not optimised, what it tests is.
add_library(fenlo_test_options INTERFACE)
target_compile_options(fenlo_test_options INTERFACE $<$<CONFIG:RelWithDebInfo>:-O0> -Wno-subobject-linkage)

# Where the reference recordings and the demonstration model lie, for the tests and benchmarks that read them. Only these see
# the source folder's name, so that a compiler cache serves all others wherever the source lies.
add_library(fenlo_golden INTERFACE)
target_compile_definitions(fenlo_golden INTERFACE
    GOLDEN_FOLDER="${PROJECT_SOURCE_DIR}/tests/golden"
    DEMO_MODEL_FOLDER="${PROJECT_SOURCE_DIR}/resources/models/micro-whisper-espeak.en")

# fenlo_precompiled(NAME OPTIONS HEADERS …): standard headers compiled once, for targets with these options. They cost a third
# of a file's time. Not with joined files, which read them rarely, nor with clang.
function(fenlo_precompiled name options)
    if(CMAKE_UNITY_BUILD OR NOT CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        return()
    endif()
    file(GENERATE OUTPUT ${CMAKE_BINARY_DIR}/${name}.cpp CONTENT "")
    add_library(${name} OBJECT ${CMAKE_BINARY_DIR}/${name}.cpp)
    target_link_libraries(${name} PRIVATE ${options})
    target_precompile_headers(${name} PRIVATE ${ARGN})
    # By its sum the compiler cache knows the headers again in another checkout, where the compiled file differs in its paths.
    file(GENERATE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/CMakeFiles/${name}.dir/cmake_pch.hxx.gch.sum
        CONTENT "${CMAKE_CXX_COMPILER_VERSION} ${ARGN} $<TARGET_PROPERTY:${name},COMPILE_OPTIONS>")
endfunction()

# fenlo_reuse(NAME PRECOMPILED): the target reads the precompiled headers where there are any.
function(fenlo_reuse name precompiled)
    if(TARGET ${precompiled})
        target_precompile_headers(${name} REUSE_FROM ${precompiled})
    endif()
endfunction()

set(standard_headers <algorithm> <chrono> <filesystem> <functional> <map> <memory> <mutex> <optional> <set> <span> <stop_token>
    <string> <string_view> <thread> <variant> <vector>)
fenlo_precompiled(fenlo_headers fenlo_options ${standard_headers})
# Libraries that use Qt are compiled to be loaded anywhere (-fPIC).
fenlo_precompiled(fenlo_qt_headers "fenlo_options;Qt6::Core" ${standard_headers})
fenlo_precompiled(fenlo_command_headers "fenlo_options;Qt6::Core;CLI11::CLI11" ${standard_headers} <CLI/CLI.hpp>)

# fenlo_library(NAME SOURCES … LINKS … [BUSY]): one folder of src/ as a static library. BUSY ones calculate so much that an
# unoptimised build would make its tests wait for minutes.
function(fenlo_library name)
    cmake_parse_arguments(ARG "BUSY" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC fenlo_options ${ARG_LINKS})
    if(ARG_BUSY)
        target_compile_options(${name} PRIVATE $<$<CONFIG:Debug>:-O1>)
    endif()
    if(ARG_LINKS MATCHES "CLI11::")
        fenlo_reuse(${name} fenlo_command_headers)
    elseif(ARG_LINKS MATCHES "Qt6::|fenlo_ui")
        fenlo_reuse(${name} fenlo_qt_headers)
    else()
        fenlo_reuse(${name} fenlo_headers)
    endif()
endfunction()

# fenlo_opens_late(NAME SOURCE FILE [INCLUDES …]): what the library NAME uses of the library FILE is opened with the first call
# (base/LateLibrary.h). SOURCE learns its name as LIBRARY, nothing is linked with it, and the package asks for it by itself.
function(fenlo_opens_late name source file)
    execute_process(COMMAND ${CMAKE_OBJDUMP} -p ${file} OUTPUT_VARIABLE told COMMAND_ERROR_IS_FATAL ANY)
    if(NOT told MATCHES "SONAME +([^ \n]+)")
        message(FATAL_ERROR "${file} has no name to open it by")
    endif()
    set_source_files_properties(${source} PROPERTIES COMPILE_DEFINITIONS LIBRARY="${CMAKE_MATCH_1}")
    target_include_directories(${name} SYSTEM PUBLIC ${ARGN})
    set_property(GLOBAL APPEND PROPERTY FENLO_LATE_LIBRARIES ${file})
endfunction()

# For what Qt generates, which shadows names.
add_library(fenlo_generated_options INTERFACE)
target_compile_options(fenlo_generated_options INTERFACE -Wno-shadow -Wno-subobject-linkage)

# fenlo_screens(NAME MODULE SOURCES … FILES … LINKS … [MODULES …]): one folder of src/ui as the QML module Fenlo.MODULE, with the QML
# files and the C++ classes that they use. The module of the windows (src/ui/screens) links NAME and NAMEplugin. What the classes
# use of this program is no link of theirs: the program has it. MODULES are those whose types the classes have as properties.
function(fenlo_screens name module)
    cmake_parse_arguments(ARG "" "" "SOURCES;FILES;LINKS;MODULES" ${ARGN})
    set(CMAKE_AUTOMOC ON)
    qt_add_qml_module(${name} STATIC URI Fenlo.${module} VERSION 1.0 RESOURCE_PREFIX /qt/qml
        OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/qml/Fenlo/${module} SOURCES ${ARG_SOURCES} QML_FILES ${ARG_FILES}
        DEPENDENCIES QtQuick ${ARG_MODULES})
    # What Qt generates names its types without their folder.
    target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC fenlo_options ${ARG_LINKS} Qt6::Quick PRIVATE fenlo_generated_options)
    target_link_libraries(${name}plugin PRIVATE fenlo_options)
    # Without it, Qt's headers turn the words signals, slots and emit into macros.
    target_compile_definitions(${name} PUBLIC QT_NO_KEYWORDS)
    # Joined, what Qt generates compiles in a fifth of the time. It stays apart from what people wrote.
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    get_target_property(sources ${name} SOURCES)
    list(FILTER sources INCLUDE REGEX "/qmlcache/")
    set_source_files_properties(${sources} PROPERTIES UNITY_GROUP generated)
    set_source_files_properties(${ARG_SOURCES} PROPERTIES UNITY_GROUP written)
    fenlo_reuse(${name} fenlo_qt_headers)
endfunction()

# fenlo_test_label(NAME LABELS …): makes the program a part of the target tests_LABEL, which builds all tests of a label.
function(fenlo_test_label name)
    foreach(label IN LISTS ARGN)
        if(NOT TARGET tests_${label})
            add_custom_target(tests_${label})
        endif()
        add_dependencies(tests_${label} ${name})
    endforeach()
endfunction()

# fenlo_test(NAME SOURCES … LINKS … [LABELS …] [WITHIN COMMAND…] [THREADED]): one folder of tests/ as one GoogleTest program.
# WITHIN names a program that runs it, such as a virtual desktop. THREADED adds the label "threaded": several threads are at
# work in it, so that it tells something under the thread sanitizer.
function(fenlo_test name)
    cmake_parse_arguments(ARG "THREADED" "" "SOURCES;LINKS;LABELS;WITHIN" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE fenlo_test_support ${ARG_LINKS} GTest::gmock)
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON)
    if(NOT ARG_LINKS MATCHES "Qt6::|fenlo_ui|fenlo_commands") # Qt has compiler options of its own
        fenlo_reuse(${name} fenlo_test_headers)
    endif()
    if(NOT ARG_LABELS)
        set(ARG_LABELS unit)
    endif()
    if(ARG_THREADED)
        list(APPEND ARG_LABELS threaded)
    endif()
    fenlo_test_label(${name} ${ARG_LABELS})
    add_test(NAME ${name} COMMAND ${ARG_WITHIN} $<TARGET_FILE:${name}>)
    # The address sanitizer guesses where the thread locals of a library lie that is opened late, as oneDNN is. A wrong guess
    # ends the program when it looks for leaks.
    set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 300
        ENVIRONMENT "TSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/tsan.supp;ASAN_OPTIONS=intercept_tls_get_addr=0")
endfunction()

# fenlo_approved(NAME): the test compares texts with those in the folder approved/ beside it (tests/support/Approved.h).
function(fenlo_approved name)
    target_compile_definitions(${name} PRIVATE
        APPROVED_FOLDER="${CMAKE_CURRENT_SOURCE_DIR}/approved"
        RECEIVED_FOLDER="${CMAKE_CURRENT_BINARY_DIR}/received")
endfunction()
