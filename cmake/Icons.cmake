# Icons of the settings screen.
#
# Every icon is drawn as an SVG under qml/setting/icons/src/ and rasterised at build time by the small
# iconrender tool, so the repository holds no binary images. The raw icons (.icon: pixels ready to show,
# with no image format to decode) land in ${CMAKE_BINARY_DIR}/icons/ and are served from the resource
# prefix /setting/icons as image://qspicon/<name> (shell/IconProvider).
#
# qsp_render_icons(<out_var>)
#   Adds the iconrender executable and one rendering rule per icon, and sets <out_var> in the caller's
#   scope to the list of absolute paths of the rendered icons. Expects Qt5 Svg and Gui to be found already.
#
# QSP_ICONRENDER names an iconrender program built elsewhere, used instead of building one. A cross build
# needs it, since the icons are rendered on the build machine: scripts/armhf.sh builds one natively first.

set(_QSP_ICONS_ROOT "${CMAKE_CURRENT_LIST_DIR}/..")
get_filename_component(_QSP_ICONS_ROOT "${_QSP_ICONS_ROOT}" ABSOLUTE)

# Pixel size of each icon: name (as in image://qspicon/<name>) followed by its size.
# The sizes match the largest sourceSize the QML asks for, so the images are only ever scaled down.
set(_QSP_ICON_TABLE
    # left menu
    newsetting          48x48
    newnetwork          48x48
    newlanguage         48x48
    newversion          48x48
    newrestart          48x48
    newexit             48x48
    # title bar back arrow and row chevron
    leftArrow0@2x       64x64
    rightArrow0@2x      64x64
    # card captions
    newbright           40x40
    newbuzzer           40x40
    newtime             40x40
    newnetwork1         40x40
    newdns              40x40
    newdefault          40x40
    newcloud            40x40
    # brightness step buttons
    newdecrease         64x64
    newincrease         64x64
    # Wi-Fi card, dialogs and combo box
    newrefresh          32x32
    loading@2x          40x40
    newtickgreen        32x32
    tickGray            24x24
    close               40x40
    down_arrow          32x32
    # Wi-Fi signal strength
    1@2x                40x40
    2@2x                40x40
    3@2x                40x40
    4@2x                40x40
    # 4G signal strength
    singal4G_0          40x40
    singal4G_1          40x40
    singal4G_2          40x40
    singal4G_3          40x40
    singal4G_4          40x40
    singal4G_5          40x40
)

set(QSP_ICONRENDER "" CACHE FILEPATH "iconrender program to use instead of building one (cross builds)")
if(CMAKE_CROSSCOMPILING AND NOT QSP_ICONRENDER)
    message(FATAL_ERROR "A cross build renders its icons with a program for the build machine: build "
                        "iconrender natively and pass it as -DQSP_ICONRENDER=<path> (scripts/armhf.sh does).")
endif()

function(qsp_render_icons out_var)
    if(NOT QSP_ICONRENDER AND NOT TARGET iconrender)
        add_executable(iconrender "${_QSP_ICONS_ROOT}/tools/iconrender/main.cpp")
        target_link_libraries(iconrender PRIVATE Qt5::Svg Qt5::Gui)
        set_target_properties(iconrender PROPERTIES
            CXX_STANDARD 17
            CXX_STANDARD_REQUIRED ON
            CXX_EXTENSIONS OFF
            AUTOMOC OFF
            AUTORCC OFF
            AUTOUIC OFF)
    endif()
    if(QSP_ICONRENDER)
        set(renderer "${QSP_ICONRENDER}")
    else()
        set(renderer iconrender)
    endif()

    set(src_dir "${_QSP_ICONS_ROOT}/qml/setting/icons/src")
    set(out_dir "${CMAKE_BINARY_DIR}/icons")
    file(MAKE_DIRECTORY "${out_dir}")

    set(icons)
    set(table ${_QSP_ICON_TABLE})
    list(LENGTH table count)
    math(EXPR last "${count} - 1")
    foreach(i RANGE 0 ${last} 2)
        math(EXPR j "${i} + 1")
        list(GET table ${i} name)
        list(GET table ${j} size)
        if(NOT size MATCHES "^([0-9]+)x([0-9]+)$")
            message(FATAL_ERROR "Icons.cmake: bad size '${size}' for icon '${name}'")
        endif()
        set(width ${CMAKE_MATCH_1})
        set(height ${CMAKE_MATCH_2})

        set(svg "${src_dir}/${name}.svg")
        set(icon "${out_dir}/${name}.icon")
        add_custom_command(
            OUTPUT "${icon}"
            COMMAND "${renderer}" "${svg}" "${icon}" ${width} ${height}
            DEPENDS "${svg}" "${renderer}"
            COMMENT "Rendering icon ${name} (${width}x${height})"
            VERBATIM)
        list(APPEND icons "${icon}")
    endforeach()

    set(${out_var} ${icons} PARENT_SCOPE)
endfunction()
