#!/usr/bin/env bash
# What the library's file must be, whatever is in it: binary.sh LIBRARY
set -euo pipefail
library=$1
status=0
complain() {
  echo "$1"
  status=1
}

# Only names of the library's own namespaces leave it. Names of the standard library would be shared with every other library of
# the process that has the same template with the same arguments, whatever it was built with.
exported=$(nm -DC --defined-only "$library")
imported=$(nm -D --undefined-only "$library")
layout=$(readelf -lWd "$library")
foreign=$(echo "$exported" | cut -d ' ' -f 2- |
  grep -v -E '^[A-Za-z] ((vtable|typeinfo|typeinfo name|VTT|(non-)?virtual thunk) (for|to) )?(SatCommonUtils|StereopairsByOverlap|Zentarix)::' |
  grep -v -E '^[A-Za-z] [^(]*[ *&](SatCommonUtils|StereopairsByOverlap|Zentarix)::[A-Za-z]+::[A-Za-z]+<' | grep -v -E '^A Orbmath_' || true)
[ -z "$foreign" ] || complain "exported, but not the library's own:
$foreign"
unique=$(echo "$exported" | grep ' u ' || true)
[ -z "$unique" ] || complain "unique symbols, which are never unloaded:
$unique"
# A sieve that lets nothing through would pass too.
for class in SatCommonUtils::TRPC SatCommonUtils::TMatrix StereopairsByOverlap::TStereopairsByOverlapParams; do
  grep -q " $class::" <<<"$exported" || complain "$class is not exported"
done

# Read-only relocations, bound at the start; the stack protector and the checked library calls are at work.
has() { grep -q -E "$2" <<<"$1"; }
has "$layout" BIND_NOW || complain "not bound at the start (BIND_NOW)"
has "$layout" GNU_RELRO || complain "relocations stay writable (GNU_RELRO)"
has "$layout" 'GNU_STACK.*RWE' && complain "the stack is executable"
has "$imported" __stack_chk_fail || complain "no stack protector"
has "$imported" '__[a-z]+_chk' || complain "no checked library calls"
exit $status
