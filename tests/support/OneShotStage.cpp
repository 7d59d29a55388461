#include "OneShotStage.h"

#include <cstring>
#include <stdexcept>

OneShotStage::OneShotStage(const std::vector<Page>& pages) : source(manager, pages) {
    static int number = 0;
    path = temporaryFolder() + "one-shot" + std::to_string(++number) + ".bmp";
    host.onGetFileName = [this](char* name) { std::strcpy(name, path.c_str()); };
    settings.PixelType = SM_PIXEL_GRAY;
    settings.Resolution = 300;
}

void OneShotStage::refuseMechanisms(int count) {
    manager.answerNext(operation::set(ICAP_XFERMECH), succeed());
    for (int i = 0; i < 3 * count; ++i)  // one for each item type
        manager.answerNext(operation::set(ICAP_XFERMECH), failWith(TWCC_BADVALUE));
}

void OneShotStage::start(unsigned short mechanism) {
    refuseMechanisms(mechanism == SM_MECH_MEMORY ? 0 : mechanism == SM_MECH_FILE ? 1 : 2);
    windows.switchesOff = true;
    if (begin() == 0) throw std::runtime_error("the one-shot scan doesn't start");
    windows.switchesOff = false;
    forget();
}

int OneShotStage::finish() {
    host.takeMessages();
    deliver(MSG_XFERREADY);
    const Lines results = host.messages().with("ScanToFileXferEnd ");
    if (results.size() != 1) throw std::runtime_error("a one-shot scan without a result, or with some");
    if (!windows.memoryComplaints().empty()) throw std::runtime_error(windows.memoryComplaints().front());
    return std::stoi(results[0].substr(results[0].find(' ')));
}

int OneShotStage::scan(unsigned short mechanism) {
    start(mechanism);
    return finish();
}

Bytes OneShotStage::fileBytes() const {
    const std::string content = readFile(path);
    return {content.begin(), content.end()};
}
