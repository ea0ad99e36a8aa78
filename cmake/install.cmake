# `cmake --install build [--prefix P]`: the C library, its header and pkg-config file, the
# command-line tool, the Qt panel (when built) and the Python package `synthor`, at the places a
# Debian user looks for them. The Python package goes where /usr/bin/python3 imports from for
# the prefix (P/lib/python3.N/dist-packages, which Debian's Python searches for /usr/local and
# /usr), and gets a link to the installed library next to itself, so it loads that library
# whatever the library search path says.
include(GNUInstallDirs)

set(_targets synthor)
if(TARGET synthor-panel)
    list(APPEND _targets synthor-panel)
endif()
install(TARGETS ${_targets} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# On Linux, the udev rule that gives the logged-in user access to FTDI devices.
if(NOT WIN32)
    install(FILES ${PROJECT_SOURCE_DIR}/udev/60-synthor.rules DESTINATION lib/udev/rules.d)
endif()

if(NOT TARGET synthor_capi)
    return()
endif()
install(TARGETS synthor_capi
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# pkg-config: the prefix is found from the .pc file's own place, so --prefix at install works.
file(RELATIVE_PATH SYNTHOR_PC_TO_PREFIX "/p/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/p")
configure_file(${PROJECT_SOURCE_DIR}/capi/synthor.pc.in ${PROJECT_BINARY_DIR}/synthor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/synthor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(WIN32)
    return()
endif()
set(_python_version 3)
if(EXISTS /usr/bin/python3)
    execute_process(COMMAND /usr/bin/python3 -c
                            "import sys; print('%d.%d' % sys.version_info[:2])"
                    OUTPUT_VARIABLE _python_version OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(SYNTHOR_PYTHON_DIR "lib/python${_python_version}/dist-packages"
    CACHE STRING "Where the Python package is installed, relative to the prefix")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/synthor DESTINATION ${SYNTHOR_PYTHON_DIR}
        FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
file(RELATIVE_PATH _lib_from_package "/p/${SYNTHOR_PYTHON_DIR}/synthor"
     "/p/${CMAKE_INSTALL_LIBDIR}/libsynthor.so.1")
install(CODE "
    set(_link \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${SYNTHOR_PYTHON_DIR}/synthor/libsynthor.so.1\")
    message(STATUS \"Installing: \${_link} -> ${_lib_from_package}\")
    file(CREATE_LINK \"${_lib_from_package}\" \"\${_link}\" SYMBOLIC)
")

# `cpack -G DEB` in the build folder: one .deb of all of the above, installed under /usr.
set(CPACK_PACKAGE_NAME synthor)
set(CPACK_PACKAGE_VERSION 1.0.0)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Automation library, tool, panel and Python package for the VexaSource synthesizer")
set(CPACK_PACKAGE_CONTACT "Synthor team <synthor@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS python3)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_STRIP_FILES ON)
include(CPack)
