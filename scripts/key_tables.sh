#!/usr/bin/env bash
# Writes the tables of keys on the missions' pages anew, from what the missions declare.
#
# usage: scripts/key_tables.sh
source "$(dirname "$0")/lib.sh"
take_arguments 0 '' "$@"

need_packages scripts/packages.txt
build_preset release setting_keys
tests/key_tables.py --write build/release/bin/setting_keys .
