#!/bin/sh
# Calls the compiler that the arguments name, to check a source or to make a
# precompiled header, which saves most of the time that the checks take.
case " $* " in
*" c++-header "*) exec "$@" ;;
*) exec "$@" -fsyntax-only ;;
esac
