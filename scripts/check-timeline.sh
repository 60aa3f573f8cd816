#!/usr/bin/env bash
# Checks a timeline page written by hbbtv-trace in Debian's headless chromium: the page must draw
# (it marks <body data-rendered="N">) without a script error, and a screenshot is taken.
#   scripts/check-timeline.sh PAGE.html [SCREENSHOT.png]
# Installs chromium with apt when it is missing. Runs as root, hence --no-sandbox.
set -euo pipefail
page="$(realpath "$1")"
shot="${2:-${page%.html}.png}"
command -v chromium >/dev/null || DEBIAN_FRONTEND=noninteractive apt-get install -y chromium >/dev/null
profile="$(mktemp -d)"
trap 'rm -rf "$profile"' EXIT
flags=(--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking
       --disable-component-update --disable-sync --user-data-dir="$profile" --virtual-time-budget=5000)
dom="$(chromium "${flags[@]}" --dump-dom "file://$page" 2>/dev/null)"
# window.onerror writes every script error into the (otherwise empty) #errors element.
if ! grep -q '<div id="errors"></div>' <<<"$dom"; then
  grep -o '<div id="errors">[^<]*' <<<"$dom" >&2 || echo "check-timeline: no #errors element" >&2
  exit 1
fi
rendered="$(grep -o 'data-rendered="[0-9]*"' <<<"$dom" || true)"
if [ -z "$rendered" ] || [ "$rendered" = 'data-rendered="0"' ]; then
  echo "check-timeline: the page did not draw" >&2
  exit 1
fi
lanes=$(grep -c 'class="laneName"' <<<"$(sed 's/<text/\n<text/g' <<<"$dom")" || true)
if [ "$lanes" -ne 3 ]; then
  echo "check-timeline: $lanes lanes drawn, not 3" >&2
  exit 1
fi
chromium "${flags[@]}" --window-size=1440,560 --screenshot="$shot" "file://$page" >/dev/null 2>&1
echo "check-timeline: $rendered, 3 lanes, no script error; screenshot $shot"
