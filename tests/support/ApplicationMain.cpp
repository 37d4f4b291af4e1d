#include "imaging/rendering/OpenGlRenderWindowWidget.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    zorbel::imaging::OpenGlRenderWindowWidget::setDefaultSurfaceFormat();
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
