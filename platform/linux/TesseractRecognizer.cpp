#include "platform/linux/TesseractRecognizer.h"

#include "platform/linux/DocumentImages.h"

#include <leptonica/allheaders.h>
#include <tesseract/baseapi.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>
#include <tuple>
#include <vector>

namespace corvale {
namespace {

// Poppler's rendering is not known to be safe on several documents at once; recognition, the slow
// part, runs in parallel outside this lock.
std::mutex& popplerLock() {
    static std::mutex lock;
    return lock;
}

std::string tidyLines(const std::string& raw) {
    std::string out;
    std::size_t start = 0;
    int blanks = 0;
    while (start < raw.size()) {
        std::size_t end = raw.find('\n', start);
        if (end == std::string::npos) end = raw.size();
        std::string_view line(raw.data() + start, end - start);
        while (!line.empty() && (line.back() == ' ' || line.back() == '\r' || line.back() == '\t'))
            line.remove_suffix(1);
        start = end + 1;
        if (line.empty()) {
            if (!out.empty() && ++blanks == 1) out += '\n';
            continue;
        }
        blanks = 0;
        out.append(line);
        out += '\n';
    }
    while (!out.empty() && out.back() == '\n' && out.size() >= 2 && out[out.size() - 2] == '\n') out.pop_back();
    return out;
}

std::pair<std::string, int> recognise(tesseract::TessBaseAPI& engine, Pix* picture) {
    engine.SetImage(picture);
    engine.SetSourceResolution(std::max(70, pixGetXRes(picture)));
    std::string text;
    if (char* recognised = engine.GetUTF8Text()) {
        text = recognised;
        delete[] recognised;
    }
    const int confidence = engine.MeanTextConf();
    engine.Clear();
    return {std::move(text), confidence};
}

// How many quarter turns clockwise the page lies, when the orientation engine is fairly sure.
int clockwiseQuarters(tesseract::TessBaseAPI& orienter, Pix* picture) {
    orienter.SetImage(picture);
    orienter.SetSourceResolution(std::max(70, pixGetXRes(picture)));
    int degrees = 0;
    float confidence = 0;
    const char* script = nullptr;
    float scriptConfidence = 0;
    const bool found = orienter.DetectOrientationScript(&degrees, &confidence, &script, &scriptConfidence);
    orienter.Clear();
    if (!found || confidence < 1.0f) return 0;
    return (degrees / 90) % 4;
}

}  // namespace

struct TesseractRecognizer::Engines {
    std::mutex lock;
    std::vector<std::unique_ptr<tesseract::TessBaseAPI>> idle;
    std::vector<std::unique_ptr<tesseract::TessBaseAPI>> idleOrienters;

    // A kept engine, or a new one: "eng" to read, "osd" only to tell how a page lies.
    std::unique_ptr<tesseract::TessBaseAPI> take(bool orienter = false) {
        auto& pool = orienter ? idleOrienters : idle;
        {
            std::lock_guard guard(lock);
            if (!pool.empty()) {
                auto engine = std::move(pool.back());
                pool.pop_back();
                return engine;
            }
        }
        auto engine = std::make_unique<tesseract::TessBaseAPI>();
        if (engine->Init(nullptr, orienter ? "osd" : "eng", tesseract::OEM_DEFAULT) != 0) return nullptr;
        engine->SetVariable("debug_file", "/dev/null");
        engine->SetPageSegMode(orienter ? tesseract::PSM_OSD_ONLY : tesseract::PSM_AUTO);
        return engine;
    }

    void give(std::unique_ptr<tesseract::TessBaseAPI> engine, bool orienter = false) {
        engine->Clear();
        std::lock_guard guard(lock);
        (orienter ? idleOrienters : idle).push_back(std::move(engine));
    }
};

TesseractRecognizer::TesseractRecognizer(unsigned threads)
    : m_engines(std::make_unique<Engines>()),
      m_threads(threads ? threads : std::max(1u, std::thread::hardware_concurrency())) {}

TesseractRecognizer::~TesseractRecognizer() {
    for (auto& engine : m_engines->idle) engine->End();
    for (auto& engine : m_engines->idleOrienters) engine->End();
}

Result<RecognizedDocument, RecognitionError> TesseractRecognizer::read(ByteView file) {
    auto opened = DocumentImages::open(file);
    if (!opened) return fail(opened.error());
    const int pages = opened->pageCount();
    const bool pdf = file.size() >= 5 && asText(file.first(5)) == "%PDF-";
    std::vector<std::string> texts(static_cast<std::size_t>(pages));
    std::vector<char> layered(static_cast<std::size_t>(pages), 0);
    std::vector<char> read(static_cast<std::size_t>(pages), 0);
    std::atomic<int> next{0};
    std::atomic<bool> noEngine{false};

    const auto work = [&](const DocumentImages& images) {
        std::unique_ptr<tesseract::TessBaseAPI> engine;
        std::unique_ptr<tesseract::TessBaseAPI> orienter;
        for (int page = next++; page < pages; page = next++) {
            const auto slot = static_cast<std::size_t>(page);
            PixPtr picture;
            {
                std::unique_lock guard(popplerLock(), std::defer_lock);
                if (pdf) guard.lock();
                if (auto layer = images.textLayer(page)) {
                    texts[slot] = std::move(*layer);
                    layered[slot] = read[slot] = 1;
                    continue;
                }
                picture = images.picture(page);
            }
            if (!picture) continue;
            if (!engine && !(engine = m_engines->take())) {
                noEngine = true;
                return;
            }
            auto [text, confidence] = recognise(*engine, picture.get());
            // A page that reads badly may lie on its side or upside down: turned upright, it is kept
            // only if it then reads better.
            if (confidence < 60) {
                if (!orienter) orienter = m_engines->take(true);
                if (const int quarters = orienter ? clockwiseQuarters(*orienter, picture.get()) : 0) {
                    PixPtr upright(pixRotateOrth(picture.get(), (4 - quarters) % 4));
                    if (upright) {
                        auto turned = recognise(*engine, upright.get());
                        if (turned.second > confidence) std::tie(text, confidence) = std::move(turned);
                    }
                }
            }
            texts[slot] = std::move(text);
            read[slot] = 1;
        }
        if (orienter) m_engines->give(std::move(orienter), true);
        if (engine) m_engines->give(std::move(engine));
    };

    const unsigned workers = std::min<unsigned>(m_threads, static_cast<unsigned>(pages));
    std::vector<std::thread> threads;
    std::vector<DocumentImages> copies;
    // A PDF is opened once per thread so each renders from its own document.
    for (unsigned i = 1; i < workers && pdf; ++i)
        if (auto copy = DocumentImages::open(file)) copies.push_back(std::move(*copy));
    for (auto& copy : copies) threads.emplace_back([&work, &copy] { work(copy); });
    work(*opened);
    for (auto& thread : threads) thread.join();

    if (noEngine) return fail(RecognitionError{RecognitionError::Code::noEngine});
    if (std::none_of(read.begin(), read.end(), [](char r) { return r != 0; }))
        return fail(RecognitionError{RecognitionError::Code::damaged});
    RecognizedDocument document;
    document.pages = pages;
    document.fromTextLayer = std::all_of(layered.begin(), layered.end(), [](char l) { return l != 0; });
    for (const auto& text : texts) {
        const std::string tidy = tidyLines(text);
        if (tidy.empty()) continue;
        if (!document.text.empty()) document.text += '\n';
        document.text += tidy;
    }
    return document;
}

}  // namespace corvale
