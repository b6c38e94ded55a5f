# Where `cmake --install` puts each file. The application folder must stay one folder, because the program locates its
# parts relative to itself; the commands are links into it.

set(application lib/record-converter)

install(TARGETS record-converter meeting-client convert-recording RUNTIME DESTINATION ${application}/bin COMPONENT application)
install(TARGETS mediaconverter LIBRARY DESTINATION ${application}/lib COMPONENT application)
if(TARGET layersurfaces)
  install(TARGETS layersurfaces LIBRARY DESTINATION ${application}/lib COMPONENT application)
endif()
install(TARGETS mediaconverter-worker RUNTIME DESTINATION ${application}/libexec COMPONENT application)
install(DIRECTORY "${RECORD_CONVERTER_APPLICATION_FOLDER}/Resources" DESTINATION ${application} COMPONENT application)
install(DIRECTORY DESTINATION ${application}/PlugIns COMPONENT application)

# The trace plug-in is installed only on request (`cmake --install <build> --component trace`), because its presence
# enables the trace.
install(TARGETS ktrtrace LIBRARY DESTINATION ${application}/PlugIns COMPONENT trace EXCLUDE_FROM_ALL)

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/install")
foreach(command record-converter meeting-client convert-recording)
  set(link "${PROJECT_BINARY_DIR}/install/${command}")
  file(CREATE_LINK "../${application}/bin/${command}" "${link}" SYMBOLIC)
  install(FILES "${link}" DESTINATION bin COMPONENT application)
endforeach()

# Desktop
set(id org.recordconverter.RecordConverter)
set(desktop "${PROJECT_SOURCE_DIR}/resources/desktop")
install(FILES "${desktop}/${id}.desktop" DESTINATION share/applications COMPONENT application)
# Stores fetch the screenshots from this address.
set(RECORD_CONVERTER_HOMEPAGE "https://recordconverter.invalid" CACHE STRING "Where the source tree is published")
configure_file("${desktop}/${id}.metainfo.xml.in" "${PROJECT_BINARY_DIR}/install/${id}.metainfo.xml" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/install/${id}.metainfo.xml" DESTINATION share/metainfo COMPONENT application)
install(FILES "${PROJECT_SOURCE_DIR}/resources/images/corvoball.svg" RENAME ${id}.svg
  DESTINATION share/icons/hicolor/scalable/apps COMPONENT application)
install(FILES "${desktop}/${id}-symbolic.svg"
  DESTINATION share/icons/hicolor/symbolic/apps COMPONENT application)

# At login, recordings that a converter has left are converted; nothing is started if there are none. The unit is
# enabled by default, as usual in distributions.
set(login "${PROJECT_SOURCE_DIR}/resources/login")
install(FILES "${login}/record-converter-pending.service" DESTINATION lib/systemd/user COMPONENT application)
file(CREATE_LINK "../record-converter-pending.service" "${PROJECT_BINARY_DIR}/install/record-converter-pending.service"
  SYMBOLIC)
install(FILES "${PROJECT_BINARY_DIR}/install/record-converter-pending.service"
  DESTINATION lib/systemd/user/graphical-session.target.wants COMPONENT application)
# Sessions look for autostart entries only in /etc, which is outside the prefix /usr but inside any other prefix.
install(CODE "
  string(REGEX REPLACE \"/usr/?$\" \"\" etc \"\${CMAKE_INSTALL_PREFIX}\")
  file(INSTALL \"${login}/${id}.Pending.desktop\" DESTINATION \"\${etc}/etc/xdg/autostart\")"
  COMPONENT application)

# For OBS Studio
install(FILES "${PROJECT_SOURCE_DIR}/src/tools/obs-bridge/record_converter_bridge.py"
  DESTINATION share/record-converter/obs COMPONENT application)

# Shell completions, in the folders where each shell expects those of packages
if(EXISTS /etc/debian_version)
  set(zsh_functions share/zsh/vendor-completions)
else()
  set(zsh_functions share/zsh/site-functions)
endif()
set(RECORD_CONVERTER_ZSH_FUNCTIONS "${zsh_functions}" CACHE STRING "Where zsh looks for functions of packages")
set(completions "${PROJECT_SOURCE_DIR}/resources/completions")
foreach(command meeting-client convert-recording)
  install(FILES "${completions}/${command}.bash" RENAME ${command}
    DESTINATION share/bash-completion/completions COMPONENT application)
  install(FILES "${completions}/_${command}" DESTINATION ${RECORD_CONVERTER_ZSH_FUNCTIONS} COMPONENT application)
  install(FILES "${completions}/${command}.fish" DESTINATION share/fish/vendor_completions.d COMPONENT application)
endforeach()

# Manual pages
find_program(SCDOC scdoc)
if(SCDOC)
  # The first line of a page declares that it contains tables; scdoc omits it.
  set(preprocessors "${PROJECT_SOURCE_DIR}/resources/man/preprocessors.roff")
  set(pages "")
  foreach(page record-converter.1 meeting-client.1 convert-recording.1)
    set(source "${PROJECT_SOURCE_DIR}/resources/man/${page}.scd")
    set(made "${PROJECT_BINARY_DIR}/man/${page}.gz")
    add_custom_command(OUTPUT "${made}"
      COMMAND "${CMAKE_COMMAND}" -E make_directory "${PROJECT_BINARY_DIR}/man"
      COMMAND sh -c "\"$0\" <\"$1\" | cat \"$2\" - | gzip -9n >\"$3\"" "${SCDOC}" "${source}" "${preprocessors}" "${made}"
      DEPENDS "${source}" "${preprocessors}" VERBATIM)
    list(APPEND pages "${made}")
  endforeach()
  add_custom_target(manual_pages ALL DEPENDS ${pages})
  install(FILES ${pages} DESTINATION share/man/man1 COMPONENT application)
else()
  message(STATUS "scdoc is not there: the manual pages are left out")
endif()

# For authors of meeting clients
include(CMakePackageConfigHelpers)
# Stripping does not touch archives, so this one must not contain the build's folders.
target_compile_options(recordmeeting PRIVATE
  "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=." "-ffile-prefix-map=${PROJECT_BINARY_DIR}=.")
install(TARGETS recordmeeting ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/src/classic_client/recordmeeting/KTRMeetingRecordNotifications.h"
  DESTINATION include/recordmeeting COMPONENT development)
install(FILES "${desktop}/org.recordconverter.NotificationCenter.xml"
  DESTINATION share/dbus-1/interfaces COMPONENT development)
set(config "${PROJECT_BINARY_DIR}/install/MeetingRecordNotificationsConfig.cmake")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/MeetingRecordNotificationsConfig.cmake.in" "${config}"
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/MeetingRecordNotifications
  PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/install/MeetingRecordNotificationsConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${config}" "${PROJECT_BINARY_DIR}/install/MeetingRecordNotificationsConfigVersion.cmake"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/MeetingRecordNotifications COMPONENT development)
# The prefix is derived from the file's own location, as the CMake package does.
file(RELATIVE_PATH pc_to_prefix "/prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/prefix")
string(REGEX REPLACE "/$" "" pc_to_prefix "${pc_to_prefix}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/recordmeeting.pc.in" "${PROJECT_BINARY_DIR}/install/recordmeeting.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/install/recordmeeting.pc"
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(FILES "${PROJECT_SOURCE_DIR}/docs/meeting-clients.md"
  DESTINATION share/doc/record-converter-dev COMPONENT development)
