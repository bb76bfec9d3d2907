# Two Debian packages by CPack, for a build that was configured with the prefix /usr (scripts/package).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tallyfox)
set(CPACK_PACKAGE_CONTACT "The Tallyfox developers <maintainers@tallyfox.invalid>")
# Each package has a summary of its own, in the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_VERBATIM_VARIABLES ON)
# Installed as to /, so that what writes its own path into a file writes the right one.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL agent relay)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/finish.cmake")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_AGENT_PACKAGE_NAME tallyfox)
set(CPACK_DEBIAN_AGENT_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_AGENT_DESCRIPTION "answer approval dialogs from a paired phone
Tallyfox runs in the background of a desktop and recognises the dialogs that
wait for a decision: permission prompts, destructive confirmations, password
requests. They appear on the paired phone, and Tallyfox presses the button
that the owner chooses there.

Dialogs are sealed end to end: the relay between computer and phone cannot
read them. Prompts for secrets can be denied from the phone, never approved.

This package has the agent and a phone for the command line.")
# Found at run time and linked by nothing: the bus of accessibility, the session's message bus, and the certificates by
# which the relay is known.
set(agent_needs at-spi2-core "default-dbus-session-bus | dbus-session-bus" ca-certificates)
list(JOIN agent_needs ", " CPACK_DEBIAN_AGENT_PACKAGE_DEPENDS)
# Where credentials are kept better than in files, where notices are shown, where icons are looked up, and the tool that
# keeps accessibility on for later logins.
set(agent_gains "gnome-keyring | keepassxc" notification-daemon hicolor-icon-theme libglib2.0-bin)
list(JOIN agent_gains ", " CPACK_DEBIAN_AGENT_PACKAGE_RECOMMENDS)
set(CPACK_DEBIAN_AGENT_PACKAGE_SUGGESTS tallyfox-relay)

set(CPACK_DEBIAN_RELAY_PACKAGE_NAME tallyfox-relay)
set(CPACK_DEBIAN_RELAY_PACKAGE_SECTION net)
set(CPACK_COMPONENT_RELAY_DESCRIPTION "relay between Tallyfox agents and their phones
Carries sealed messages between the computers that Tallyfox runs on and the
phones that are paired with them. It remembers which pairings exist and which
phones belong to them, and can read none of the messages.

It speaks plain HTTP and WebSocket, and is meant to stand behind a proxy that
ends TLS. The package brings a service that is started when it is wanted.")
set(CPACK_DEBIAN_RELAY_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_LIST_DIR}/relay/postinst;${CMAKE_CURRENT_LIST_DIR}/relay/prerm;${CMAKE_CURRENT_LIST_DIR}/relay/postrm")

include(CPack)
