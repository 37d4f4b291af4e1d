#include "imaging/rendering/RenderWindowWidget.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    zorbel::imaging::RenderWindowWidget::setDefaultSurfaceFormat();
    const QApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
