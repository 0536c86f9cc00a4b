// The painted button: clicks and what is not a click, hovering, the link a click opens, saved
// properties, and the frames some looks must not draw.
#include "ui/qbk_buttons.h"

#include <QPainter>
#include <QTest>

using namespace cvl;

namespace {

// Shown, with its signals and the links it opens written down; the pointer is wherever the
// test says.
struct ProbedButton : QBKButtons {
    ProbedButton() {
        setObjectName(QStringLiteral("okButton"));
        initProperties();
        resize(80, 30);
        connect(this, &QAbstractButton::clicked, [this] { log << "click"; });
        connect(this, &QBKButtons::MouseDown, [this] { log << "down"; });
        connect(this, &QBKButtons::MouseUp, [this] { log << "up"; });
        connect(this, &QBKButtons::MouseIn, [this] { log << "in"; });
        connect(this, &QBKButtons::MouseOut, [this] { log << "out"; });
        show();
    }
    bool inside = true;
    QStringList log;
    [[nodiscard]] bool pointerInside() const override { return inside; }
    void openMail(const QString& url) override { log << "mail " + url; }
    void navigate(const QString& url) override { log << "navigate " + url; }
};

struct MemoryStore : ButtonPropertyStore {
    QVariantMap values;
    [[nodiscard]] QVariant read(const QString& name, const QVariant& fallback) const override {
        return values.value(name, fallback);
    }
    void write(const QString& name, const QVariant& value) override { values.insert(name, value); }
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
    void clicks() {
        ProbedButton b;
        b.setUrl(QStringLiteral("http://example.org"));
        QTest::mousePress(&b, Qt::LeftButton, {}, {10, 12});
        QVERIFY(b.isPressed());
        QTest::mouseRelease(&b, Qt::LeftButton, {}, {10, 12});
        QCOMPARE(b.log, (QStringList{"down", "click", "navigate http://example.org", "up"}));

        b.log.clear();
        QTest::mousePress(&b, Qt::RightButton, {}, {10, 12});
        QVERIFY(!b.isPressed());
        QTest::mouseRelease(&b, Qt::RightButton, {}, {10, 12});
        QTest::mousePress(&b, Qt::LeftButton, {}, {10, 12});
        QTest::mouseRelease(&b, Qt::LeftButton, {}, {80, 12}); // just past the right edge
        QCOMPARE(b.log, (QStringList{"down", "up", "down", "up"}));

        b.log.clear();
        b.setUrl({});
        for (const auto key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_X})
            QTest::keyClick(&b, key);
        QCOMPARE(b.log, (QStringList{"click", "click"})); // once each, no link

        b.log.clear();
        for (const char* url : {"mailto:a@b.org", "MAILTO:a@b.org", ""}) {
            b.setUrl(url);
            b.GoToURL();
        }
        QCOMPARE(b.log, (QStringList{"mail mailto:a@b.org", "navigate MAILTO:a@b.org"}));
    }

    void hoverInAndOut() {
        ProbedButton b;
        const QPixmap plain = filled(Qt::red);
        const QPixmap hover = filled(Qt::green);
        b.setPicture(plain);
        b.setPictureHover(hover);
        QTest::mouseMove(&b, {-1, 5});
        QVERIFY(!b.isHovering());
        QTest::mouseMove(&b, {5, 5});
        QCOMPARE(b.currentPicture().cacheKey(), hover.cacheKey());
        QTest::mouseMove(&b, {6, 5});
        b.inside = false;
        QTRY_VERIFY(!b.isHovering());
        QCOMPARE(b.currentPicture().cacheKey(), plain.cacheKey());
        QCOMPARE(b.log, (QStringList{"in", "out"}));

        // Held and dragged off: still pressed, drawn raised until the pointer comes back.
        b.inside = true;
        QTest::mouseMove(&b, {5, 5});
        QTest::mousePress(&b, Qt::LeftButton, {}, {5, 5});
        b.inside = false;
        QTRY_VERIFY(!b.isHovering());
        QBKButtonLook look;
        b.initLook(look);
        QVERIFY(b.isPressed() && look.state == QBKButtonLook::Normal);
        b.inside = true;
        QTest::mouseMove(&b, {5, 5});
        b.initLook(look);
        QCOMPARE(look.state, QBKButtonLook::Pressed);
    }

    void propertiesRoundTrip() {
        ProbedButton b;
        MemoryStore untouched;
        b.save(untouched);
        QCOMPARE(untouched.values.keys(), QStringList());

        b.setCaption(QStringLiteral("&OK"));
        b.setButtonStyle(QBKButtons::XpStyle);
        b.setPicture(filled(Qt::blue, {20, 10}));
        b.setEnabled(false);
        QVERIFY(b.setValue(QStringLiteral("URL"), QStringLiteral("mailto:x@y.org")));
        QVERIFY(b.setValue(QStringLiteral("BackColor"), QColor(0x12, 0x34, 0x56)));
        QVERIFY(b.setValue(QStringLiteral("BEVELDEPTH"), QStringLiteral("4")));
        QVERIFY(!b.setValue(QStringLiteral("Colour"), 1));
        b.setSoundOver(QStringLiteral("hover.wav"));
        b.setDefCurHand(false);
        b.setVersion(QStringLiteral("4.1"));

        MemoryStore store;
        b.save(store);
        QCOMPARE(store.values.keys(),
                 (QStringList{"BEVELDEPTH", "BackColor", "ButtonStyle", "Caption", "DefCurHand",
                              "Enabled", "OriginalPicSizeH", "OriginalPicSizeW", "Picture",
                              "SoundOver", "URL"}));
        QCOMPARE(store.values.value("BackColor").toUInt(), 0x563412u);

        ProbedButton copy;
        copy.load(store);
        for (int i = 0; i < QBKButtons::kPropertyCount; ++i) {
            const auto p = QBKButtons::Property(i);
            if (b.value(p).metaType() != QMetaType::fromType<QPixmap>()) // no equality
                QCOMPARE(copy.value(p), b.value(p));
        }
        QCOMPARE(copy.picture().size(), QSize(20, 10));
    }

    void framesAndFocus() {
        QBKButtons b;
        b.setBackColor(0x405060);
        b.setGeometry(0, 0, 60, 24);
        QBKButtonLook look;
        b.initLook(look);
        look.isDefault = look.focused = true;
        look.showFocusRect = false;
        QImage face(look.rect.size(), QImage::Format_ARGB32);
        face.fill(QColor(0x60, 0x50, 0x40));
        for (const auto state :
             {QBKButtonLook::Normal, QBKButtonLook::Hover, QBKButtonLook::Pressed}) {
            look.state = state;
            look.style = QBKButtons::PlainStyle;
            QCOMPARE(render(look), face);
            look.style = QBKButtons::RaisedStyle;
            QVERIFY(render(look) != face);
        }

        // Focused either way, ShowFocusRect adds the dotted rectangle, except in style 3.
        look.style = QBKButtons::PlainStyle;
        look.showFocusRect = true;
        QVERIFY(render(look) != face);
        look.style = QBKButtons::XpStyle;
        const QImage xp = render(look);
        look.showFocusRect = false;
        QCOMPARE(render(look), xp);
    }
};

QTEST_MAIN(TestQbkButtons)
#include "tst_qbk_buttons.moc"
