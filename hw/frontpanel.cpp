#include "hw/frontpanel.h"

#include "baselib/bmp.h"

#include <algorithm>
#include <vector>

namespace {

constexpr GRCsize displaySize = CHGenericOLEDController::displaySize();
constexpr std::size_t pixelCount = std::size_t{displaySize.width} * displaySize.height;
constexpr unsigned int rgbOfGrey = 0x111111; // grey 15 becomes 0xFFFFFF

constexpr unsigned char typeTOD9M0026 = 0x3C;
constexpr unsigned char typeOEL1M4005 = 0x3D;

std::unique_ptr<CHGenericOLEDController> controllerFor(CHfplinkK4& link) {
    switch (link.panelType) {
    case typeTOD9M0026:
        return std::make_unique<MyTOD9M0026>(link);
    case typeOEL1M4005:
        return std::make_unique<MyOEL1M4005>(link);
    default:
        return nullptr;
    }
}

} // namespace

int CHfrontpanelK4::init(int shmKey) {
    // Both refer to the link that detect() or initSerialLink() deletes.
    writer.reset();
    controller_.reset();
    if (!initDisplay(shmKey)) return errorSharedMemory;
    const int detected = detect();
    return detected == 0 ? initController() : detected;
}

void CHfrontpanelK4::dispContrast(int percent) {
    if (controller_) controller_->contrast(static_cast<unsigned char>(std::clamp(percent, 0, 100)));
}

void CHfrontpanelK4::dispMode(int mode) {
    if (controller_) controller_->enable(mode >= 1, mode == 2);
}

int CHfrontpanelK4::kbdGetkey() {
    keys_.analyze(fplink->keyStatus());
    return keys_.getkey();
}

int CHfrontpanelK4::kbdGetAll(int event) { return keys_.getall(event); }

bool CHfrontpanelK4::saveScreenImage(const char* path) const {
    if (path == nullptr) return false;
    std::vector<unsigned int> colours;
    colours.reserve(pixelCount);
    for (int y = 0; y < displaySize.height; ++y)
        for (int x = 0; x < displaySize.width; ++x)
            colours.push_back(display.grey(x, y) * rgbOfGrey);
    return KLFwriteBmp(path, displaySize.width, displaySize.height, colours.data()) == 0;
}

// The display leaves the old shared memory before that is released.
bool CHfrontpanelK4::initDisplay(int shmKey) {
    display.init(displaySize.width, displaySize.height);
    shared_.reset();
    if (shmKey < 1) return true;
    shared_ = std::make_unique<KLTsharedMemory>(shmKey, pixelCount * sizeof(unsigned int));
    if (!shared_->memory()) return false;
    display.init(displaySize.width, displaySize.height,
                 static_cast<unsigned int*>(shared_->memory()));
    display.clear();
    return true;
}

int CHfrontpanelK4::initController() {
    CHfplinkK4& link = *initSerialLink();
    controller_ = controllerFor(link);
    if (!controller_) {
        controller_ = std::make_unique<MyFAKEOLED>(link);
        return errorNoController;
    }
    controller_->init();
    writer = std::make_unique<CHgenericWriteChanges>();
    writer->attach(*controller_);
    keys_.init(link.panelVersion);
    controller_->enable(true, false);
    return 0;
}
