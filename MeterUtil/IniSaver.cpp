#include "MeterUtil/IniSaver.h"

#include <new>
#include <utility>

#include "Platform/Platform.h"

namespace MeterUtil {
namespace {

// Whom the process wants to be told about failed saves.
struct ErrorListener {
    std::mutex mutex;
    CMeterIniFile::SaveErrorHandler handler = nullptr;
    void* context = nullptr;
};

ErrorListener& Listener() {
    static ErrorListener listener;
    return listener;
}

// Sets the error first: who is told may ask for it.
void ReportFailure(const std::wstring& path, const SaveTarget& target) {
    if (target.error != nullptr)
        *target.error = true;
    ErrorListener& listener = Listener();
    CMeterIniFile::SaveErrorHandler handler = nullptr;
    void* context = nullptr;
    {
        const std::lock_guard<std::mutex> lock(listener.mutex);
        handler = listener.handler;
        context = listener.context;
    }
    // Called without the lock: the handler may set another one, or save.
    if (handler != nullptr)
        handler(context, path.c_str(), target.errorText.c_str());
}

bool SaveTo(const std::wstring& path, const Platform::TextPieces& text, const SaveTarget& target) noexcept {
    if (Platform::ReplaceFile(path, text))
        return true;
    ReportFailure(path, target);
    return false;
}

// Asked once the file is saved: until then a mirror that is a hard link of it looks like the file itself.
// Without memory to compare the paths the mirror is written: once too often does no harm.
bool NeedsMirror(const SaveTarget& target) noexcept {
    if (target.mirror.empty())
        return false;
    try {
        return !Platform::SamePath(target.path, target.mirror);
    } catch (const std::bad_alloc&) {
        return true;
    }
}

}  // namespace

void SetSaveErrorHandler(CMeterIniFile::SaveErrorHandler handler, void* context) noexcept {
    ErrorListener& listener = Listener();
    const std::lock_guard<std::mutex> lock(listener.mutex);
    listener.handler = handler;
    listener.context = context;
}

void ReportFailedSave(const SaveTarget& target) noexcept {
    ReportFailure(target.path, target);
}

bool SaveText(const SaveTarget& target, const Platform::TextPieces& text) noexcept {
    Platform::KeepAwake(true);
    const bool saved = SaveTo(target.path, text, target);
    const bool mirrored = !NeedsMirror(target) || SaveTo(target.mirror, text, target);
    Platform::KeepAwake(false);
    return saved && mirrored;
}

BackgroundSaver::~BackgroundSaver() {
    if (!m_thread.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_ending = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void BackgroundSaver::Save(SaveTarget target, TextSnapshot text) {
    auto job = std::make_unique<Job>(Job{std::move(target), std::move(text)});
    if (!m_thread.joinable())
        m_thread = std::thread(&BackgroundSaver::Run, this);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_waiting.swap(job);
    }
    m_changed.notify_all();
}

void BackgroundSaver::Wait() {
    if (!m_thread.joinable())
        return;
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_busy && m_waiting == nullptr; });
}

void BackgroundSaver::Run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_waiting != nullptr || m_ending; });
        if (m_waiting == nullptr)
            return;
        std::unique_ptr<Job> job = std::move(m_waiting);
        m_busy = true;
        lock.unlock();
        SaveText(job->target, job->text);
        job.reset();
        lock.lock();
        m_busy = false;
        m_changed.notify_all();
    }
}

}  // namespace MeterUtil
