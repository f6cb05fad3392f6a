#!/usr/bin/env bash
# debian_changelog.sh SOURCE MAINTAINER <CHANGELOG.md: writes it in the form that Debian's tools read.
# What is not released yet is given the time of now, or of SOURCE_DATE_EPOCH.
set -euo pipefail
export LC_ALL=C
now=$(date --utc --rfc-email --date="@${SOURCE_DATE_EPOCH:-$(date +%s)}")

awk -v source="$1" -v maintainer="$2" -v now="$now" '
  function end_item(   count, words, i, line) {
    count = split(item, words, " ")
    item = ""
    line = "  *"
    for (i = 1; i <= count; ++i) {
      if (length(line " " words[i]) > 80) {
        print line
        line = "   "
      }
      line = line " " words[i]
    }
    if (count > 0) print line
  }
  function end_version() {
    end_item()
    if (version != "") print "\n -- " maintainer "  " date
  }
  # "## 1.0.0 (2026-01-31)", or another word in the brackets
  /^## / {
    end_version()
    if (version != "") print ""
    version = $2
    released = match($3, /[0-9]+-[0-9]+-[0-9]+/)
    date = now
    if (released) {
      command = "date --utc --rfc-email --date=" substr($3, RSTART, RLENGTH)
      command | getline date
      close(command)
    }
    print source " (" version ") " (released ? "unstable" : "UNRELEASED") "; urgency=medium"
    print ""
  }
  # "### Added"
  /^### / {
    if (item != "") {
      end_item()
      print ""
    }
    print "  [ " $2 " ]"
  }
  /^- / {
    end_item()
    item = substr($0, 3)
  }
  /^  / { item = item $0 }
  END { end_version() }'
