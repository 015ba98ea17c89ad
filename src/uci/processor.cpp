#include "platform/cpu.h"
#include "uci/messages.h"

// No code, since it would be compiled for the processor that may be missing.
constexpr Instructions::Refusal Instructions::kRefusal = {Messages::kProcessorLacks.data(),
                                                          Messages::kProcessorAdvice.data()};
