# Read by the scripts of this folder.

# refuse TEXT...: says why nothing is done, and ends.
refuse() {
  echo "$(basename "$0"): $*" >&2
  exit 2
}

require_mac() {
  [ "$(uname -s)" = Darwin ] || refuse "this needs a Mac with Xcode's command-line tools; nothing was done."
}

require_bundle() {
  [ -f "$1/Contents/Info.plist" ] || refuse "$1 is no application: it has no Contents/Info.plist."
}
