// The entry of a program that holds the engine for several kinds of processors. Everything here,
// and what it calls in platform/, is compiled for the oldest of them.

#include "platform/console.h"
#include "variants/choose.h"

#include <cstdlib>

// The names that cmake/variants.cmake gives to the variable `kVariant` of each.
extern const Variant kVariant_x86_64;
extern const Variant kVariant_x86_64_v2;
extern const Variant kVariant_x86_64_v3;
extern const Variant kVariant_x86_64_v3_pext;

namespace {

constexpr const Variant* kVariants[] = {&kVariant_x86_64, &kVariant_x86_64_v2, &kVariant_x86_64_v3,
                                        &kVariant_x86_64_v3_pext};

constexpr std::string_view kOption = "--variant=";

int refuse(std::string_view line) {
    Console::write(Console::Stream::Error, line);
    return EXIT_FAILURE;
}

/// Runs the variant of this name. The rest of the arguments is the engine's.
int runNamed(int argc, char** argv, std::string_view name, Instructions::Set available) {
    const Variant* variant = Variants::find(kVariants, name);
    if (!variant)
        return refuse(Variants::unknown(kVariants, name));
    if (const Instructions::Set missing = Variants::missing(*variant, available); missing != 0)
        return refuse(Variants::refusal(missing));
    argv[1] = argv[0];
    return variant->run(argc - 1, argv + 1);
}

} // namespace

int main(int argc, char** argv) {
    const Instructions::Report report = Instructions::readReport();
    const Instructions::Set available = Instructions::available(report);
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first.starts_with(kOption))
        return runNamed(argc, argv, first.substr(kOption.size()), available);
    const Variant* variant =
        Variants::choose(kVariants, {available, Instructions::extractsBitsFast(report)});
    return variant->run(argc, argv);
}
