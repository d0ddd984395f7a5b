# Runs at install time (cmake --install, make install, CPack): writes each sample configuration
# of PASTREL_SAMPLES ("source=name") into <prefix>/<datadir>/pastrel/examples with
# "@CATALOGUE_DIR@" naming this installation's catalogue folder.
set(_pastrel_share "${CMAKE_INSTALL_PREFIX}/${PASTREL_SAMPLE_DATADIR}/pastrel")
# A stage of this run's own: two installations into different prefixes may run at once.
string(RANDOM LENGTH 16 _pastrel_run)
set(_pastrel_stage "${PASTREL_SAMPLE_STAGE}/${_pastrel_run}")
foreach(_pastrel_sample IN LISTS PASTREL_SAMPLES)
    string(REGEX MATCH "^(.*)=([^=]+)$" _pastrel_match "${_pastrel_sample}")
    file(READ "${CMAKE_MATCH_1}" _pastrel_text)
    string(REPLACE "@CATALOGUE_DIR@" "${_pastrel_share}/translations" _pastrel_text
           "${_pastrel_text}")
    file(WRITE "${_pastrel_stage}/${CMAKE_MATCH_2}" "${_pastrel_text}")
    file(INSTALL "${_pastrel_stage}/${CMAKE_MATCH_2}" DESTINATION "${_pastrel_share}/examples")
endforeach()
file(REMOVE_RECURSE "${_pastrel_stage}")
