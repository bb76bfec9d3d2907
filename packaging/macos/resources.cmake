# tallyfox_mac_resources(FOLDER): writes Info.plist there, and RelayConfig.plist where a relay is set. Reads
#   TALLYFOX_VERSION
#   TALLYFOX_SPARKLE_FEED_URL, TALLYFOX_SPARKLE_PUBLIC_KEY   where updates come from and what signs them; both or neither
#   TALLYFOX_RELAY_URL, TALLYFOX_PAIRING_ID                  the relay that the application knows by itself; both or neither
# Run as a script, `cmake -DOUTPUT=FOLDER -DTALLYFOX_VERSION=... -P resources.cmake`, it does the same on any system.
set(TALLYFOX_MAC_TEMPLATES "${CMAKE_CURRENT_LIST_DIR}")

function(tallyfox_both_or_neither one other)
  if((${one} AND NOT ${other}) OR (${other} AND NOT ${one}))
    message(FATAL_ERROR "${one} and ${other} only make sense together.")
  endif()
endfunction()

function(tallyfox_xml_text variable)
  string(REPLACE "&" "&amp;" text "${${variable}}")
  string(REPLACE "<" "&lt;" text "${text}")
  set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(tallyfox_mac_resources folder)
  tallyfox_both_or_neither(TALLYFOX_SPARKLE_FEED_URL TALLYFOX_SPARKLE_PUBLIC_KEY)
  tallyfox_both_or_neither(TALLYFOX_RELAY_URL TALLYFOX_PAIRING_ID)
  foreach(variable TALLYFOX_SPARKLE_FEED_URL TALLYFOX_SPARKLE_PUBLIC_KEY TALLYFOX_RELAY_URL TALLYFOX_PAIRING_ID)
    tallyfox_xml_text(${variable})
  endforeach()
  set(TALLYFOX_UPDATE_KEYS "")
  if(TALLYFOX_SPARKLE_FEED_URL)
    set(TALLYFOX_UPDATE_KEYS "  <key>SUFeedURL</key>
  <string>${TALLYFOX_SPARKLE_FEED_URL}</string>
  <key>SUPublicEDKey</key>
  <string>${TALLYFOX_SPARKLE_PUBLIC_KEY}</string>
")
  endif()
  configure_file("${TALLYFOX_MAC_TEMPLATES}/Info.plist.in" "${folder}/Info.plist" @ONLY)
  if(TALLYFOX_RELAY_URL)
    configure_file("${TALLYFOX_MAC_TEMPLATES}/RelayConfig.plist.in" "${folder}/RelayConfig.plist" @ONLY)
  endif()
endfunction()

if(CMAKE_SCRIPT_MODE_FILE)
  tallyfox_mac_resources("${OUTPUT}")
endif()
