# The relocatable application folder that the build produces: bin, lib, libexec, PlugIns and Resources in one folder.
# The program locates its parts relative to itself.

set(RECORD_CONVERTER_APPLICATION_FOLDER "${CMAKE_BINARY_DIR}/record-converter")
file(MAKE_DIRECTORY "${RECORD_CONVERTER_APPLICATION_FOLDER}/PlugIns"
                    "${RECORD_CONVERTER_APPLICATION_FOLDER}/Resources")

# place_in_application_folder(<target> <bin|lib|libexec>): the folder for the target's file, in the build and when
# installed.
function(place_in_application_folder target folder)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${RECORD_CONVERTER_APPLICATION_FOLDER}/${folder}"
    LIBRARY_OUTPUT_DIRECTORY "${RECORD_CONVERTER_APPLICATION_FOLDER}/${folder}"
    BUILD_RPATH "$ORIGIN/../lib"
    INSTALL_RPATH "$ORIGIN/../lib"
    BUILD_WITH_INSTALL_RPATH ON)
  # A RUNPATH, not an RPATH, so that LD_LIBRARY_PATH can replace the media converter that ships.
  target_link_options(${target} PRIVATE LINKER:--enable-new-dtags)
endfunction()
