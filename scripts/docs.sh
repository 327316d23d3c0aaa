#!/usr/bin/env bash
# Installs what is missing and makes the site of the documentation, build/site/index.html.
# Fails for a link that leads nowhere and for an interface without documentation.
#   usage: docs.sh
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/setup.sh

headers=(
    Services/ZVService.h
    Shared/Contract/ResultCode.h
    Shared/Contract/ProgressCallback.h
    Services/Launcher/Launcher.h
    Logging/Logging.h
    Logging/Sinks.h
    Interception/ImportTable.h
    Interception/LoadWatch.h
    Interception/ModuleExports.h
    Interception/Redirection.h
    Simulator/AutomationWatch.h
    Simulator/Description/DescriptionError.h
    Simulator/Description/DescriptionWriter.h
    Simulator/Machine.h
)

zv_install "${zv_for_site[@]}"
rm -rf build/site build/site-input
python3 -B scripts/site/filter.py build/site-input README.md docs/*.md scripts/site/search.md "${headers[@]}"
doxygen scripts/site/Doxyfile
python3 -B scripts/site/texts.py README.md docs/*.md >build/site/texts.js
echo "build/site/index.html"
