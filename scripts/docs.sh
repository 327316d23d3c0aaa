#!/usr/bin/env bash
# Installs what is missing and makes the site of the documentation, build/site/index.html.
# Fails for a link that leads nowhere and for an interface without documentation.
#   usage: docs.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

zv_install_missing_packages
rm -rf build/site
mkdir -p build
doxygen scripts/site/Doxyfile
python3 -B scripts/site/texts.py README.md docs/*.md >build/site/texts.js
echo "build/site/index.html"
