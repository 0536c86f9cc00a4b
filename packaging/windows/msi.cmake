# The Windows package, ChronvaleServer-<version>-x64.msi, built with wixl by the target "msi".
find_program(CHRONVALE_WIXL wixl)
if(NOT CHRONVALE_WIXL)
  message(STATUS "wixl not found: no msi target (Debian: apt-get install wixl)")
  return()
endif()

# wixl takes the files by paths relative to the package's description, which lies beside the
# program and the server file it copies there.
set(CHRONVALE_MSI_EXE QBK_CVL_Server.exe)
set(CHRONVALE_MSI_SERVER_FILE QBK_CVLS4.CVL)
configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/ChronvaleServer.wxs.in
               ${CMAKE_CURRENT_BINARY_DIR}/ChronvaleServer.wxs @ONLY)

set(CHRONVALE_MSI ${CMAKE_BINARY_DIR}/ChronvaleServer-${PROJECT_VERSION}-x64.msi)
add_custom_command(
  OUTPUT ${CHRONVALE_MSI}
  COMMAND ${CHRONVALE_WIXL} -a x64 -o ${CHRONVALE_MSI} ChronvaleServer.wxs
  COMMAND ${PROJECT_SOURCE_DIR}/scripts/sign-windows.sh ${CHRONVALE_MSI}
  WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
  DEPENDS QBK_CVL_Server ${CMAKE_CURRENT_BINARY_DIR}/ChronvaleServer.wxs
          ${PROJECT_SOURCE_DIR}/data/QBK_CVLS4.CVL
  VERBATIM)
add_custom_target(msi DEPENDS ${CHRONVALE_MSI})
