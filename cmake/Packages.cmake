# `cpack -G DEB` makes three packages: the application, what an author of a meeting client needs, and the trace plug-in.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME record-converter)
set(CPACK_PACKAGE_VENDOR "The record converter's developers")
set(CPACK_PACKAGE_CONTACT "The record converter's developers <developers@recordconverter.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL application development trace)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_APPLICATION_PACKAGE_NAME record-converter)
set(CPACK_DEBIAN_APPLICATION_PACKAGE_SECTION video)
set(CPACK_DEBIAN_APPLICATION_PACKAGE_SHLIBDEPS ON)
# The library inside the application folder belongs to the application alone.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${RECORD_CONVERTER_APPLICATION_FOLDER}/lib")
set(CPACK_DEBIAN_APPLICATION_PACKAGE_RECOMMENDS "dbus-user-session | dbus-x11, xdg-utils")
set(CPACK_DEBIAN_APPLICATION_PACKAGE_SUGGESTS "ffmpeg")
set(CPACK_COMPONENT_APPLICATION_DESCRIPTION "turns finished meeting recordings into MP4 files
 When a meeting ends, or its program crashes, the record converter turns what
 was recorded into an MP4 beside the recording, and tells the user so in a
 small bubble under its status icon. Then it ends by itself.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME record-converter-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "names shared by meeting clients and the record converter
 The header, the static library and the CMake package with the notification
 names and keys, the D-Bus interface, and the manual for authors of meeting
 clients.")

set(CPACK_DEBIAN_TRACE_PACKAGE_NAME record-converter-trace)
set(CPACK_DEBIAN_TRACE_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TRACE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TRACE_PACKAGE_DEPENDS "record-converter (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENT_TRACE_DESCRIPTION "diagnostic trace of the record converter
 While this package is installed the record converter writes what it does into
 files in the user's state folder, for whoever looks for the cause of a trouble.")

# Every package carries its copyright and its changes.
find_program(GZIP gzip)
if(GZIP)
  set(changes "${PROJECT_BINARY_DIR}/install/changelog.Debian.gz")
  execute_process(COMMAND "${GZIP}" -9nc "${PROJECT_SOURCE_DIR}/packaging/changelog" OUTPUT_FILE "${changes}")
  foreach(part "application;record-converter" "development;record-converter-dev")
    list(POP_FRONT part component)
    install(FILES "${PROJECT_SOURCE_DIR}/packaging/copyright" "${changes}"
      DESTINATION share/doc/${part} COMPONENT ${component})
  endforeach()
  install(FILES "${PROJECT_SOURCE_DIR}/packaging/copyright" "${changes}"
    DESTINATION share/doc/record-converter-trace COMPONENT trace EXCLUDE_FROM_ALL)
endif()
install(FILES "${PROJECT_SOURCE_DIR}/packaging/record-converter.lintian-overrides" RENAME record-converter
  DESTINATION share/lintian/overrides COMPONENT application)
install(FILES "${PROJECT_SOURCE_DIR}/packaging/record-converter-dev.lintian-overrides" RENAME record-converter-dev
  DESTINATION share/lintian/overrides COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/packaging/record-converter-trace.lintian-overrides" RENAME record-converter-trace
  DESTINATION share/lintian/overrides COMPONENT trace EXCLUDE_FROM_ALL)

include(CPack)
