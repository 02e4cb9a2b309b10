# Wayland's protocols: wayland-scanner makes C from their published XML files.

find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
pkg_get_variable(WAYLAND_PROTOCOLS wayland-protocols pkgdatadir)

# fenlo_wayland_protocols(NAME XML…): the protocols as one static library of tables, with a header <STEM-client-protocol.h> each.
function(fenlo_wayland_protocols name)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/protocols)
    file(MAKE_DIRECTORY ${folder})
    foreach(xml ${ARGN})
        get_filename_component(stem ${xml} NAME_WE)
        get_filename_component(xml ${xml} ABSOLUTE)
        set(header ${folder}/${stem}-client-protocol.h)
        set(code ${folder}/${stem}-protocol.c)
        add_custom_command(OUTPUT ${header} COMMAND ${WAYLAND_SCANNER} --strict client-header ${xml} ${header} DEPENDS ${xml})
        add_custom_command(OUTPUT ${code} COMMAND ${WAYLAND_SCANNER} --strict private-code ${xml} ${code} DEPENDS ${xml})
        list(APPEND made ${header} ${code})
    endforeach()
    add_library(${name} STATIC ${made})
    set_target_properties(${name} PROPERTIES UNITY_BUILD OFF POSITION_INDEPENDENT_CODE ON)
    target_include_directories(${name} SYSTEM PUBLIC ${folder})
    target_link_libraries(${name} PUBLIC PkgConfig::WAYLAND)
endfunction()
