#include "stage/cli/report/progress.h"

#include "stage/base/text.h"

#include <cmath>
#include <cstdio>

namespace cadencora::stage {

Progress::Progress(std::ostream& out, bool terminal, std::size_t total)
    : out_(out), terminal_(terminal), total_(total) {}

void Progress::started(const std::string& file) {
    current_ = file;
    show();
}

void Progress::finished(const std::string& file) {
    ++done_;
    hide();
    if (!terminal_)
        out_ << "[" << done_ << "/" << total_ << "] " << escaped(file) << "\n" << std::flush;
}

void Progress::hide() {
    if (terminal_) out_ << "\r\033[K" << std::flush;
}

void Progress::show() {
    if (!terminal_ || done_ == total_) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    const std::string remaining = remainingText(elapsed.count(), done_, total_);
    out_ << "\r\033[K[" << done_ << "/" << total_ << "] " << escaped(current_)
         << (remaining.empty() ? "" : ", ") << remaining << std::flush;
}

std::string remainingText(double elapsedSeconds, std::size_t finished, std::size_t total) {
    if (finished == 0) return {};
    const double left =
        elapsedSeconds / static_cast<double>(finished) * static_cast<double>(total - finished);
    const long long seconds = std::llround(std::ceil(left));
    char text[64];
    if (seconds >= 3600)
        std::snprintf(text, sizeof text, "about %lld:%02lld:%02lld left", seconds / 3600,
                      seconds / 60 % 60, seconds % 60);
    else
        std::snprintf(text, sizeof text, "about %lld:%02lld left", seconds / 60, seconds % 60);
    return text;
}

} // namespace cadencora::stage
