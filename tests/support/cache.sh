# For scripts that get what a virtual machine needs once and keep it. Sourced, by a script that has
# set -euo pipefail; `fail` is its own.

# Keeps FILES in FOLDER. Prints FOLDER and ends the script when all of them are there. Otherwise
# returns with $scratch, a folder that goes when the script ends, while no other script does the same.
cache_open() {
  cache=$1
  shift
  cached=("$@")
  cache_is_full && { echo "$cache"; exit; }
  mkdir -p "$(dirname "$cache")"
  exec 9>"$cache.lock"
  flock 9
  cache_is_full && { echo "$cache"; exit; }
  scratch=$(mktemp -d "$cache.XXXXXX")
  trap 'rm -rf "$scratch"' EXIT
  mkdir "$scratch/out"
}
cache_is_full() {
  local file
  for file in "${cached[@]}"; do [ -s "$cache/$file" ] || return 1; done
}

# Makes $scratch/out the folder, and prints where it is.
cache_close() {
  local file
  for file in "${cached[@]}"; do [ -s "$scratch/out/$file" ] || fail "no $file in what was downloaded"; done
  # Only what an earlier run put there.
  [ ! -d "$cache" ] || { (cd "$cache" && rm -f -- "${cached[@]}") && rmdir "$cache"; }
  mv -T "$scratch/out" "$cache"
  echo "$cache"
}
