// The painted button: clicks and what is not a click, hovering, the link a click opens, saved
// properties, system colours, and the frames some looks must not draw.
#include "ui/qbk_buttons.h"

#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace cvl;

namespace {

// The pointer is wherever the test says, and links are written down instead of opened.
class ProbedButton : public QBKButtons {
public:
    using QBKButtons::QBKButtons;
    bool inside = true;
    QStringList log;

protected:
    [[nodiscard]] bool pointerInside() const override { return inside; }
    void openMail(const QString& url) override { log << "mail " + url; }
    void navigate(const QString& url) override { log << "navigate " + url; }
};

struct Rig {
    QWidget host;
    ProbedButton* button = new ProbedButton(&host);
    Rig() {
        button->setObjectName(QStringLiteral("okButton"));
        button->initProperties();
        button->resize(80, 30);
        auto& log = button->log;
        QObject::connect(button, &QAbstractButton::clicked, [&log] { log << "click"; });
        QObject::connect(button, &QBKButtons::MouseDown, [&log] { log << "down"; });
        QObject::connect(button, &QBKButtons::MouseUp, [&log] { log << "up"; });
        QObject::connect(button, &QBKButtons::MouseIn, [&log] { log << "in"; });
        QObject::connect(button, &QBKButtons::MouseOut, [&log] { log << "out"; });
        host.show();
    }
};

class MemoryStore : public ButtonPropertyStore {
public:
    QStringList order;
    QVariantMap values;
    [[nodiscard]] QVariant read(const QString& name, const QVariant& fallback) const override {
        return values.value(name, fallback);
    }
    void write(const QString& name, const QVariant& value) override {
        order << name;
        values.insert(name, value);
    }
};

QImage render(const QBKButtonLook& look) {
    QImage image(look.rect.size(), QImage::Format_ARGB32);
    image.fill(Qt::magenta);
    QPainter painter(&image);
    QBKButtons::paintLook(painter, look);
    return image;
}

QPixmap filled(QColor color, QSize size = {8, 8}) {
    QPixmap pixmap(size);
    pixmap.fill(color);
    return pixmap;
}

} // namespace

class TestQbkButtons : public QObject {
    Q_OBJECT
private slots:
    void mouseClicks() {
        Rig rig;
        auto* b = rig.button;
        b->setUrl(QStringLiteral("http://example.org"));
        QSignalSpy downs(b, &QBKButtons::MouseDown);
        QTest::mousePress(b, Qt::LeftButton, Qt::ShiftModifier, {10, 12});
        QVERIFY(b->isPressed());
        QCOMPARE(
            downs.at(0),
            (QVariantList{QVariant::fromValue(Qt::MouseButtons(Qt::LeftButton)),
                          QVariant::fromValue(Qt::KeyboardModifiers(Qt::ShiftModifier)), 10, 12}));
        QTest::mouseRelease(b, Qt::LeftButton, {}, {10, 12});
        QVERIFY(!b->isPressed());
        QCOMPARE(b->log, (QStringList{"down", "click", "navigate http://example.org", "up"}));

        b->log.clear();
        QTest::mousePress(b, Qt::RightButton, {}, {10, 12});
        QVERIFY(!b->isPressed());
        QTest::mouseRelease(b, Qt::RightButton, {}, {10, 12});
        QTest::mousePress(b, Qt::LeftButton, {}, {10, 12});
        QTest::mouseRelease(b, Qt::LeftButton, {}, {80, 12}); // just past the right edge
        QCOMPARE(b->log, (QStringList{"down", "up", "down", "up"}));

        b->log.clear();
        b->setEnabled(false);
        QTest::mouseClick(b, Qt::LeftButton, {}, {10, 12});
        QVERIFY(b->log.isEmpty());
    }

    void keyboardClicksOnce() {
        Rig rig;
        auto* b = rig.button;
        QStringList keys;
        connect(b, &QBKButtons::KeyDown, [&] { keys << "down"; });
        connect(b, &QBKButtons::KeyPress, [&](const QString& text) { keys << "press " + text; });
        connect(b, &QBKButtons::KeyUp, [&] { keys << "up"; });
        QTest::keyClick(b, Qt::Key_Space);
        QCOMPARE(keys, (QStringList{"down", "press  ", "up"}));
        QTest::keyClick(b, Qt::Key_Return);
        QTest::keyClick(b, Qt::Key_X);
        QCOMPARE(b->log, (QStringList{"click", "click"}));
    }

    void goToUrl_data() {
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("log");
        QTest::newRow("mail") << "mailto:a@b.org" << QStringList{"mail mailto:a@b.org"};
        QTest::newRow("capitals are no mail")
            << "MAILTO:a@b.org" << QStringList{"navigate MAILTO:a@b.org"};
        QTest::newRow("web") << "http://b.org" << QStringList{"navigate http://b.org"};
        QTest::newRow("none") << "" << QStringList{};
    }
    void goToUrl() {
        QFETCH(QString, url);
        ProbedButton b;
        b.setUrl(url);
        b.GoToURL();
        QTEST(b.log, "log");
    }

    void hoverInAndOut() {
        Rig rig;
        auto* b = rig.button;
        const QPixmap plain = filled(Qt::red);
        const QPixmap hover = filled(Qt::green);
        b->setPicture(plain);
        b->setPictureHover(hover);
        auto* timer = b->findChild<QTimer*>(QStringLiteral("OverTimer"));
        QVERIFY(timer);

        QTest::mouseMove(b, {-1, 5});
        QVERIFY(!b->isHovering());
        QTest::mouseMove(b, {5, 5});
        QVERIFY(b->isHovering());
        QVERIFY(timer->isActive());
        QCOMPARE(b->currentPicture().cacheKey(), hover.cacheKey());
        QTest::mouseMove(b, {6, 5});
        b->inside = false;
        QTRY_VERIFY(!b->isHovering());
        QVERIFY(!timer->isActive());
        QCOMPARE(b->currentPicture().cacheKey(), plain.cacheKey());
        QCOMPARE(b->log, (QStringList{"in", "out"}));

        // Held and dragged off: still pressed, drawn raised until the pointer comes back.
        b->inside = true;
        QTest::mouseMove(b, {5, 5});
        QTest::mousePress(b, Qt::LeftButton, {}, {5, 5});
        b->inside = false;
        QTRY_VERIFY(!b->isHovering());
        QBKButtonLook look;
        b->initLook(look);
        QVERIFY(b->isPressed());
        QCOMPARE(look.state, QBKButtonLook::Normal);
        b->inside = true;
        QTest::mouseMove(b, {5, 5});
        b->initLook(look);
        QCOMPARE(look.state, QBKButtonLook::Pressed);
    }

    void propertiesRoundTrip() {
        Rig rig;
        auto* b = rig.button;
        QCOMPARE(b->caption(), QStringLiteral("okButton"));
        MemoryStore untouched;
        b->save(untouched);
        QVERIFY2(untouched.order.isEmpty(), qPrintable(untouched.order.join(',')));

        QSignalSpy changes(b, &QBKButtons::propertyChanged);
        b->setButtonStyle(QBKButtons::XpStyle);
        b->setButtonStyle(QBKButtons::XpStyle);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes.at(0).at(0), QStringLiteral("ButtonStyle"));
        b->setCaption(QStringLiteral("&OK"));
        b->setPicture(filled(Qt::blue, {20, 10}));
        b->setEnabled(false);
        QVERIFY(b->setValue(QStringLiteral("URL"), QStringLiteral("mailto:x@y.org")));
        QVERIFY(b->setValue(QStringLiteral("BackColor"), QColor(0x12, 0x34, 0x56)));
        QVERIFY(b->setValue(QStringLiteral("BEVELDEPTH"), QStringLiteral("4")));
        QVERIFY(!b->setValue(QStringLiteral("Colour"), 1));
        b->setSoundOver(QStringLiteral("hover.wav"));
        b->setDefCurHand(false);
        b->setVersion(QStringLiteral("4.1"));

        MemoryStore store;
        b->save(store);
        QCOMPARE(store.order, (QStringList{"Caption", "ButtonStyle", "Picture", "OriginalPicSizeW",
                                           "OriginalPicSizeH", "Enabled", "URL", "BackColor",
                                           "SoundOver", "DefCurHand", "BEVELDEPTH"}));
        QCOMPARE(store.values.value("BackColor").toUInt(), 0x563412u);

        ProbedButton copy(&rig.host);
        QSignalSpy copyChanges(&copy, &QBKButtons::propertyChanged);
        copy.load(store);
        QVERIFY(copyChanges.isEmpty());
        for (int i = 0; i < QBKButtons::kPropertyCount; ++i) {
            const auto p = QBKButtons::Property(i);
            if (b->value(p).metaType() != QMetaType::fromType<QPixmap>()) // no equality
                QCOMPARE(copy.value(p), b->value(p));
        }
        QCOMPARE(copy.picture().size(), QSize(20, 10));
        QCOMPARE(copy.originalPicSizeW(), 20);
        QVERIFY(copy.soundOver() == "hover.wav" && !copy.defCurHand() && !copy.isEnabled());
        QVERIFY(copy.version().isEmpty());

        copy.load(MemoryStore{});
        QCOMPARE(copy.buttonStyle(), QBKButtons::OutlineStyle);
        QCOMPARE(copy.soundClick(), QStringLiteral(".\\resources\\click.wav"));
        QVERIFY(copy.picture().isNull() && copy.isEnabled());
    }

    void systemColoursFollowPalette() {
        QBKButtons b;
        QPalette palette;
        palette.setColor(QPalette::Button, QColor(1, 2, 3));
        palette.setColor(QPalette::ButtonText, QColor(4, 5, 6));
        palette.setColor(QPalette::Dark, QColor(7, 8, 9));
        palette.setColor(QPalette::Light, QColor(10, 11, 12));
        palette.setColor(QPalette::Shadow, QColor(13, 14, 15));
        palette.setColor(QPalette::Midlight, QColor(16, 17, 18));
        b.setPalette(palette);
        QBKButtonLook look;
        b.initLook(look);
        QCOMPARE(look.face, QColor(1, 2, 3));
        QCOMPARE(look.text, QColor(4, 5, 6));
        QCOMPARE(look.shadow, QColor(7, 8, 9));
        QCOMPARE(look.highlight, QColor(10, 11, 12));
        QCOMPARE(look.darkShadow, QColor(13, 14, 15));
        QCOMPARE(look.xpHover, QColor(16, 17, 18));
        QCOMPARE(b.resolveColor(0x00030201), QColor(1, 2, 3));
    }

    void framesAndFocus() {
        QBKButtons b;
        b.setBackColor(0x405060);
        b.setGeometry(0, 0, 60, 24);
        QBKButtonLook look;
        b.initLook(look);
        look.isDefault = true;
        look.focused = true;
        look.showFocusRect = false;
        const QColor face(0x60, 0x50, 0x40);
        const auto allFace = [&face](const QImage& image) {
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    if (image.pixelColor(x, y) != face)
                        return false;
            return true;
        };
        for (const auto state :
             {QBKButtonLook::Normal, QBKButtonLook::Hover, QBKButtonLook::Pressed}) {
            look.state = state;
            look.style = QBKButtons::PlainStyle;
            QVERIFY(allFace(render(look)));
            look.style = QBKButtons::RaisedStyle;
            QVERIFY(!allFace(render(look)));
        }

        // The dotted rectangle alone: focused either way, only ShowFocusRect differs.
        look.state = QBKButtonLook::Normal;
        for (const int style : {int(QBKButtons::XpStyle), int(QBKButtons::RaisedStyle),
                                int(QBKButtons::PlainStyle)}) {
            look.style = style;
            look.showFocusRect = false;
            const QImage without = render(look);
            look.showFocusRect = true;
            QCOMPARE(render(look) == without, style == QBKButtons::XpStyle);
        }
    }
};

QTEST_MAIN(TestQbkButtons)
#include "tst_qbk_buttons.moc"
