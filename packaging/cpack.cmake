# `cpack -G DEB` in the build folder makes chronvale-server_<version>_<arch>.deb. The Qt
# libraries come from Debian (dpkg-shlibdeps finds them); the platform plugins that QtGui loads
# at run time are not linked, so they are named here.
set(CPACK_PACKAGE_NAME chronvale-server)
set(CPACK_PACKAGE_VENDOR "Chronvale Server")
set(CPACK_PACKAGE_CONTACT "Chronvale Server maintainers <maintainers@users.noreply.c-seed-eae97a6e.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "network time server for Daytime, Time, NTP/SNTP and Unix time")
set(CPACK_PACKAGE_DESCRIPTION "Chronvale Server answers Daytime, Time, NTP/SNTP, Unix time and \
its own client protocol, each over TCP and UDP, once it has set the system clock from a reference \
server. It runs as a desktop application with a tray icon, or headless as a systemd service.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# adduser: the maintainer scripts create the service's user.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins, adduser")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_LIST_DIR}/debian/postinst
    ${CMAKE_CURRENT_LIST_DIR}/debian/prerm
    ${CMAKE_CURRENT_LIST_DIR}/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
