#include "ai/gemini_failure.h"

namespace kelo {

std::string userText(const GeminiFailure& failure) {
    switch (failure.kind) {
        case GeminiFailureKind::rejected:
            return "Gemini rejected this request (HTTP " + std::to_string(failure.status) +
                   "). No retry. Check Free Tier key/model access in Settings.";
        case GeminiFailureKind::quota: return std::string(kQuotaExhaustedText);
        case GeminiFailureKind::cancelled: return std::string(kRequestCancelledText);
        case GeminiFailureKind::invalidResponse:
        case GeminiFailureKind::network: break;
    }
    return std::string(kRequestFailedText);
}

AIFailureEffect effectOf(const GeminiFailure& failure) {
    switch (failure.kind) {
        case GeminiFailureKind::rejected:
            return failure.status == 400 || failure.status == 401 || failure.status == 403 || failure.status == 404
                       ? AIFailureEffect::switchOff
                       : AIFailureEffect::pauseFiveMinutes;
        case GeminiFailureKind::quota: return AIFailureEffect::pauseUntilTomorrow;
        case GeminiFailureKind::cancelled: return AIFailureEffect::none;
        case GeminiFailureKind::invalidResponse:
        case GeminiFailureKind::network: break;
    }
    return AIFailureEffect::pauseFiveMinutes;
}

}  // namespace kelo
