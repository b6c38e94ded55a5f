# The relocatable application folder that the build leaves: bin, lib, libexec, PlugIns, Resources below one folder,
# found by the program from its own place.

set(RECORD_CONVERTER_APPLICATION_FOLDER "${CMAKE_BINARY_DIR}/record-converter")
file(MAKE_DIRECTORY "${RECORD_CONVERTER_APPLICATION_FOLDER}/PlugIns"
                    "${RECORD_CONVERTER_APPLICATION_FOLDER}/Resources")

# place_in_application_folder(<target> <bin|lib|libexec>): where the target's file goes, in the build and installed.
function(place_in_application_folder target folder)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${RECORD_CONVERTER_APPLICATION_FOLDER}/${folder}"
    LIBRARY_OUTPUT_DIRECTORY "${RECORD_CONVERTER_APPLICATION_FOLDER}/${folder}"
    BUILD_RPATH "$ORIGIN/../lib"
    INSTALL_RPATH "$ORIGIN/../lib"
    BUILD_WITH_INSTALL_RPATH ON)
  # A RUNPATH, not an RPATH: LD_LIBRARY_PATH may put another media converter in the shipped one's place.
  target_link_options(${target} PRIVATE LINKER:--enable-new-dtags)
endfunction()
