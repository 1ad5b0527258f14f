#!/usr/bin/awk -f
# Turns the comments of a header into those that doxygen reads: in front of what they describe, behind it, and at the
# beginning of the file, which they then describe. Headings, and members that are defaulted, say enough by themselves.
/^ *\/[\/*] ----/ { print "" (/\*\/$/ ? "" : "/*"); next }
/ = default;/ { print ""; next }
NR == 1 && /^\/\*/ { sub(/^\/\*/, "/** @file\n *"); print; next }
NR == 1 && /^\/\// { print "/// @file" }
/^ *\/\*[^*]/ { sub(/\/\*/, "/**") }
/^ *\/\/( |$)/ { sub(/\/\//, "///") }
/[;,)}] +\/\* / { sub(/\/\* /, "/**< ") }
/[;,)}] +\/\/ / { sub(/\/\/ /, "///< ") }
{ print }
