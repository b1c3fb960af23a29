#!/usr/bin/env bash
# Makes the locale "zh_CN.GB2312" that WStrToStr and StrToWStr switch to, unless it is there. Needs
# the package "locales".
set -euo pipefail

locale -a | grep -qix 'zh_CN\.gb2312' && exit 0
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
"${as_root[@]}" localedef -i zh_CN -f GB2312 zh_CN.GB2312
