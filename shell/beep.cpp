// The beep: the bundle's sound, fetched once and played by the platform, else the platform's own beep.
// Beeps that come while the sound still plays are dropped, so a burst of them sounds once.
#include "shell/platform.h"
#include "shell/shell.h"

#include <chrono>
#include <memory>
#include <mutex>

namespace {

std::mutex soundMutex;
bool soundFetched = false;
// The sound, once fetched; nullptr when there is none to be had.
std::shared_ptr<const AiffSound> t_BeepSound;
// Steady-clock nanoseconds until which the last beep plays. Beeps do not queue up: one that comes
// before then is dropped.
std::atomic<int64_t> playingUntil{0};

int64_t nownanoseconds() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::shared_ptr<const AiffSound> beepsound() {
    std::lock_guard<std::mutex> lock(soundMutex);
    if (soundFetched) return t_BeepSound;
    soundFetched = true;
    const std::vector<uint8_t> bytes = getbinaryfromfile(bundlepath() + "/Contents/Resources/sysbeep.aif");
    if (bytes.empty()) return nullptr;
    auto sound = std::make_shared<AiffSound>();
    if (!aiffdecode(bytes, *sound)) return nullptr;
    if (sound->Frames <= 0 || !(sound->SampleRate > 0) || sound->Channels <= 0) {
        debuglog("t_Beep: The sound \"sysbeep.aif\" holds nothing to play.");
        return nullptr;
    }
    t_BeepSound = std::move(sound);
    return t_BeepSound;
}

} // namespace

void t_Beep() {
    std::shared_ptr<const AiffSound> sound = beepsound();
    if (!sound) {
        t_RunOnMainThreadAsync([] { platformport().Beep(); });
        return;
    }
    const int64_t now = nownanoseconds();
    int64_t until = playingUntil.load(std::memory_order_acquire);
    if (now < until) return;
    const auto length = static_cast<int64_t>(static_cast<double>(sound->Frames) / sound->SampleRate * 1e9);
    // Of two threads that find the sound silent, only one starts it.
    if (!playingUntil.compare_exchange_strong(until, now + length, std::memory_order_acq_rel)) return;
    t_RunOnMainThreadAsync([sound] { platformport().PlaySound(sound); });
}

void t_BeepForget() {
    std::lock_guard<std::mutex> lock(soundMutex);
    soundFetched = false;
    t_BeepSound.reset();
    playingUntil.store(0, std::memory_order_release);
}
