#!/bin/sh
# filter_header.sh HEADER: the header as doxygen is to read it.
exec sed -e '$a\
/// @file' "$1"
