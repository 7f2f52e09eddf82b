// How far a run over many files is: one line that is written over again on a terminal, a plain line
// per finished file elsewhere.
#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>

namespace cadencora::stage {

class Progress {
public:
    Progress(std::ostream& out, bool terminal, std::size_t total);

    void started(const std::string& file);
    void finished(const std::string& file); // called before what is to be said of the file

    // On a terminal, takes the line away for other output, and shows it again.
    void hide();
    void show();

private:
    std::ostream& out_;
    const bool terminal_;
    const std::size_t total_;
    std::size_t done_ = 0;
    std::string current_; // the file that was started last
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// "about 2:05 left", from the pace so far; empty while nothing is done.
std::string remainingText(double elapsedSeconds, std::size_t finished, std::size_t total);

} // namespace cadencora::stage
