# For tests that need an installation: install_into CMAKE BUILD-FOLDER PREFIX. By components, since installing all at
# once would overwrite the build folder's install_manifest.txt, which somebody may need to uninstall.
install_into() {
  local component log
  for component in library development tool; do
    log=$("$1" --install "$2" --prefix "$3" --component "$component") || { echo "$log" >&2; return 1; }
  done
}
