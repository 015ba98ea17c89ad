#pragma once

#include "platform/cpu.h"

/// The engine, compiled for one kind of processor. A program that serves all of them holds it
/// several times, each with tables, globals and inline functions of its own: of each, the linker
/// sees the variable below alone, under another name.
struct Variant {
    const char* name; // as `--variant=` takes it
    const Instructions::Set* needed;
    bool extractsBits;                 // in one instruction, which some processors have but slowly
    int (*run)(int argc, char** argv); // the whole program; returns its exit status
};

/// In each variant this one is the variant itself.
extern const Variant kVariant;
