#!/usr/bin/env bash
# Fails on source that is not formatted as .clang-format says, committed or not. With --fix it is formatted instead.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh style
mode=(--dry-run -Werror)
[ "${1:-}" != --fix ] || mode=(-i)
git ls-files -z --cached --others --exclude-standard '*.h' '*.cpp' '*.c' '*.inc' | xargs -0 clang-format "${mode[@]}"
