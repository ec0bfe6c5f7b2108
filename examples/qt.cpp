// A Qt 6 window with the dictionary of one collection, which it prints, too.
// c++ -std=c++20 -fPIC qt.cpp -o qt $(pkg-config --cflags --libs ambrelkit Qt6Widgets)
#include "PrintingHost.hpp"

#include <AmbrelKit/Adapters/Qt.hpp>

#include <QApplication>
#include <QPlainTextEdit>

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    const AmbrelKit::Adapters::QtDriver driver;
    QPlainTextEdit text("Looking around…");
    text.setReadOnly(true);
    text.resize(640, 480);
    text.show();
    const auto host = std::make_shared<PrintingHost>(
        [&text](const auto& json) { text.setPlainText(QString::fromStdString(json)); });
    const auto kit = AmbrelKit::AmbrelSDK::create();
    kit->setDelegate(host);
    kit->startScanningOnce();
    return QApplication::exec();
}
