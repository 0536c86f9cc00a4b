// The painted button's rules that both desktops share: what is saved and under which names,
// what each input does, which frame each style draws in each state, and where a click's link
// goes.
#include "memory_button_store.h"
#include "ui/button/button_behaviour.h"
#include "ui/button/button_frame.h"
#include "ui/button/button_properties.h"

#include <gtest/gtest.h>

#include <map>

using namespace cvl;

namespace {

using MemoryStore = test::MemoryButtonStore;

ButtonProperties placed() {
    ButtonProperties p;
    p.initProperties("cfgsvrOK", {"Arial", 9, false, false, false, false});
    return p;
}

} // namespace

TEST(ButtonProperties, OnlyWhatDiffersFromItsDefaultIsSavedAndItAllComesBack) {
    ButtonProperties button = placed();
    MemoryStore untouched;
    button.save(untouched);
    EXPECT_TRUE(untouched.values.empty()) << "defaults, the host's name and font included";

    std::vector<std::string> reported;
    button.onChanged = [&](ButtonProperty p) {
        reported.emplace_back(ButtonProperties::name(p));
    };
    EXPECT_TRUE(button.set(ButtonProperty::Caption, std::string("&OK")));
    EXPECT_TRUE(button.set(ButtonProperty::ButtonStyle, std::int16_t{3}));
    EXPECT_TRUE(button.set(ButtonProperty::Picture, ButtonPicture{2, 1, {0xFF0000FF, 0x00FFFFFF}}));
    EXPECT_TRUE(button.set(ButtonProperty::Enabled, false));
    EXPECT_TRUE(button.set(ButtonProperty::BackColor, ColorValue{0x563412}));
    EXPECT_TRUE(button.set(ButtonProperty::BevelDepth, ColorValue{100000})) << "limited to 16 bits";
    EXPECT_TRUE(button.set(ButtonProperty::SoundOver, std::string("hover.wav")));
    EXPECT_TRUE(button.set(ButtonProperty::DefCurHand, false));
    EXPECT_TRUE(button.set(ButtonProperty::Font, ButtonFont{"Tahoma", 10.5, true}));
    EXPECT_FALSE(button.set(ButtonProperty::Url, true)) << "a value of another type";
    EXPECT_TRUE(button.set(ButtonProperty::Caption, std::string("&OK"))) << "the same again";
    button.version = "4.1";
    EXPECT_EQ(reported,
              (std::vector<std::string>{"Caption", "ButtonStyle", "Picture", "OriginalPicSizeW",
                                        "OriginalPicSizeH", "Enabled", "BackColor", "BEVELDEPTH",
                                        "SoundOver", "DefCurHand", "Font"}));

    MemoryStore store;
    button.save(store);
    std::vector<std::string> names;
    for (const auto& [name, value] : store.values) {
        names.push_back(name);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"BEVELDEPTH", "BackColor", "ButtonStyle", "Caption",
                                               "DefCurHand", "Enabled", "Font", "OriginalPicSizeH",
                                               "OriginalPicSizeW", "Picture", "SoundOver"}));
    EXPECT_EQ(store.values["Enabled"], "0");
    EXPECT_EQ(store.values["BackColor"], "5649426");
    EXPECT_EQ(store.values["BEVELDEPTH"], "32767");
    EXPECT_EQ(store.values["Font"], "Tahoma,105,1,0,0,0");

    ButtonProperties copy = placed();
    copy.load(store);
    for (int i = 0; i < kButtonPropertyCount; ++i) {
        EXPECT_EQ(copy.value(ButtonProperty(i)), button.value(ButtonProperty(i)))
            << ButtonProperties::name(ButtonProperty(i));
    }
    EXPECT_EQ(copy.number(ButtonProperty::OriginalPicSizeW), 2);
}

TEST(ButtonProperties, WhatCannotBeReadLoadsAsTheDefault) {
    MemoryStore store;
    store.values = {{"ButtonStyle", "three"}, {"Enabled", "True"},
                    {"ShowFocusRect", "0"},   {"BackColor", "-2147483633"},
                    {"Picture", "2,2,ff"},    {"Font", "Arial,0,0,0,0,0"},
                    {"BEVEL", "2"},           {"SoundClick", ""}};
    ButtonProperties button = placed();
    button.load(store);
    EXPECT_EQ(button.style(), 2);
    EXPECT_TRUE(button.enabled());
    EXPECT_FALSE(button.flag(ButtonProperty::ShowFocusRect));
    EXPECT_EQ(button.color(ButtonProperty::BackColor), 0x8000000Fu) << "saved signed";
    EXPECT_TRUE(button.picture(ButtonProperty::Picture).empty());
    EXPECT_EQ(button.font().family, "Arial");
    EXPECT_EQ(button.number(ButtonProperty::Bevel), 2);
    EXPECT_EQ(button.text(ButtonProperty::SoundClick), "") << "an empty sound is a value";
    EXPECT_EQ(button.caption(), "cfgsvrOK");
}

TEST(ButtonProperties, ThePictureDrawnFollowsHoverAndPictureSize) {
    ButtonProperties button = placed();
    EXPECT_EQ(button.pictureDrawSize(false), (std::pair{0, 0}));
    const ButtonPicture plain{3, 2, std::vector<std::uint32_t>(6, 1)};
    const ButtonPicture hover{1, 1, {2}};
    button.set(ButtonProperty::Picture, plain);
    EXPECT_EQ(button.pictureDrawSize(false), (std::pair{32, 32}));
    button.set(ButtonProperty::PictureSize, std::int16_t{0});
    EXPECT_EQ(button.pictureDrawSize(false), (std::pair{3, 2})) << "the size as loaded";
    EXPECT_EQ(button.shownPicture(true), plain) << "no hover picture";
    button.set(ButtonProperty::PictureHover, hover);
    EXPECT_EQ(button.shownPicture(true), hover);
    EXPECT_EQ(button.shownPicture(false), plain);
}

TEST(ButtonBehaviour, PressesClicksAndWhatIsNotAClick) {
    ButtonBehaviour b;
    EXPECT_EQ(b.mouseDown(MouseButton::Right), ButtonReaction{});
    EXPECT_EQ(b.look(true), ButtonLookState::Normal) << "a right press shows nothing";
    EXPECT_FALSE(b.mouseUp(MouseButton::Right, true).click);

    EXPECT_TRUE(b.mouseDown(MouseButton::Left).redraw);
    EXPECT_EQ(b.look(true), ButtonLookState::Pressed);
    EXPECT_EQ(b.look(false), ButtonLookState::Normal) << "disabled looks normal";
    EXPECT_TRUE(b.mouseUp(MouseButton::Left, true).click);
    EXPECT_FALSE(b.pressed());

    b.mouseDown(MouseButton::Left);
    const ButtonReaction outside = b.mouseUp(MouseButton::Left, false);
    EXPECT_TRUE(outside.redraw);
    EXPECT_FALSE(outside.click) << "released off the button";

    // Keys: Space clicks when it comes up, Enter at once, a held key once.
    EXPECT_FALSE(b.keyDown(ButtonKey::Space, false).click);
    EXPECT_EQ(b.look(true), ButtonLookState::Pressed);
    EXPECT_FALSE(b.keyDown(ButtonKey::Space, true).click);
    EXPECT_TRUE(b.keyUp(ButtonKey::Space, false).click);
    EXPECT_TRUE(b.keyDown(ButtonKey::Enter, false).click);
    EXPECT_FALSE(b.keyDown(ButtonKey::Enter, true).click);
    EXPECT_FALSE(b.keyUp(ButtonKey::Space, false).click) << "no press to finish";
    b.keyDown(ButtonKey::Space, false);
    b.focusOut();
    EXPECT_FALSE(b.keyUp(ButtonKey::Space, false).click) << "focus went elsewhere meanwhile";
    b.keyDown(ButtonKey::Space, false);
    b.disable();
    EXPECT_FALSE(b.pressed());
}

TEST(ButtonBehaviour, HoverComesOnceAndGoesWhenThePointerLeaves) {
    ButtonBehaviour b;
    EXPECT_EQ(b.mouseMove(false), ButtonReaction{});
    const ButtonReaction in = b.mouseMove(true);
    EXPECT_TRUE(in.mouseIn && in.startHoverTimer && in.redraw);
    EXPECT_EQ(b.mouseMove(true), ButtonReaction{}) << "MouseIn once";
    EXPECT_EQ(b.look(true), ButtonLookState::Hover);
    EXPECT_EQ(b.hoverTick(true), ButtonReaction{});
    const ButtonReaction out = b.hoverTick(false);
    EXPECT_TRUE(out.mouseOut && out.stopHoverTimer && out.redraw);
    EXPECT_TRUE(b.hoverTick(false).stopHoverTimer) << "a late tick only stops the timer";

    // Held and dragged off: still pressed, drawn raised until the pointer comes back.
    b.mouseMove(true);
    b.mouseDown(MouseButton::Left);
    b.hoverTick(false);
    EXPECT_TRUE(b.pressed());
    EXPECT_EQ(b.look(true), ButtonLookState::Normal);
    b.mouseMove(true);
    EXPECT_EQ(b.look(true), ButtonLookState::Pressed);
    b.mouseUp(MouseButton::Left, true);

    b.keyDown(ButtonKey::Space, false);
    b.hoverTick(false);
    EXPECT_EQ(b.look(true), ButtonLookState::Pressed) << "the space bar's press is not dragged";
}

TEST(ButtonFrame, EachStyleDrawsItsFrameInEachState) {
    using enum ButtonLookState;
    struct Case {
        int style;
        ButtonLookState state;
        bool designMode;
        FrameKind frame;
    };
    const Case cases[] = {
        {RaisedStyle, Normal, false, FrameKind::Raised},
        {RaisedStyle, Hover, false, FrameKind::Raised},
        {RaisedStyle, Pressed, false, FrameKind::Sunken},
        {RaisedStyle, Pressed, true, FrameKind::Raised},
        {HoverStyle, Normal, false, FrameKind::None},
        {HoverStyle, Hover, false, FrameKind::Raised},
        {HoverStyle, Pressed, false, FrameKind::Sunken},
        {HoverStyle, Normal, true, FrameKind::Raised},
        {OutlineStyle, Normal, false, FrameKind::None},
        {OutlineStyle, Hover, false, FrameKind::Outline},
        {OutlineStyle, Pressed, false, FrameKind::Outline},
        {OutlineStyle, Normal, true, FrameKind::Outline},
        {XpStyle, Pressed, false, FrameKind::Xp},
        {PlainStyle, Pressed, false, FrameKind::None},
        {PlainStyle, Normal, true, FrameKind::None},
    };
    for (const Case& c : cases) {
        FrameInputs in;
        in.style = c.style;
        in.state = c.state;
        in.designMode = c.designMode;
        EXPECT_EQ(planFrame(in).kind, c.frame)
            << "style " << c.style << " state " << int(c.state) << " design " << c.designMode;
    }

    FrameInputs xp;
    xp.style = XpStyle;
    xp.state = Hover;
    EXPECT_EQ(planFrame(xp).xpState, Hover);
    xp.designMode = true;
    EXPECT_EQ(planFrame(xp).xpState, Normal) << "a designer shows the resting look";

    FrameInputs outline;
    outline.borderAlways = true;
    EXPECT_EQ(planFrame(outline).kind, FrameKind::Outline) << "XPShowBorderAlways";
}

TEST(ButtonFrame, FocusDefaultAndBevel) {
    FrameInputs in;
    in.focused = true;
    for (const int style : {RaisedStyle, HoverStyle, OutlineStyle, PlainStyle}) {
        in.style = style;
        EXPECT_TRUE(planFrame(in).focusRect) << style;
    }
    in.style = XpStyle;
    EXPECT_FALSE(planFrame(in).focusRect) << "the XP look marks focus in its shading";
    EXPECT_TRUE(planFrame(in).xpFocused);
    in.style = RaisedStyle;
    in.showFocusRect = false;
    EXPECT_FALSE(planFrame(in).focusRect);

    EXPECT_TRUE(planFrame(in).outerLine) << "focused and raised";
    in.state = ButtonLookState::Pressed;
    EXPECT_FALSE(planFrame(in).outerLine);
    EXPECT_TRUE(planFrame(in).contentPushed);
    in.isDefault = true;
    EXPECT_TRUE(planFrame(in).outerLine) << "the default button";
    in.designMode = true;
    EXPECT_FALSE(planFrame(in).outerLine) << "only at run time";

    FrameInputs bevel;
    bevel.style = RaisedStyle;
    EXPECT_EQ(planFrame(bevel).bevelDepth, 0) << "BEVEL 1: single lines";
    bevel.bevel = 2;
    EXPECT_EQ(planFrame(bevel).bevelDepth, 8);
    EXPECT_EQ(planFrame(bevel).inset, 1 + 8) << "the content moves in with the bevel";
    bevel.bevelDepth = 1000;
    EXPECT_EQ(planFrame(bevel).bevelDepth, 16);
}

TEST(ButtonFrame, PictureAndCaptionShareTheRoom) {
    const ButtonBox area{0, 0, 100, 40};
    const ButtonPlacement left = placeContent(area, 16, 16, 40, 12, LeftOf);
    EXPECT_EQ(left.picture, (ButtonBox{20, 12, 16, 16}));
    EXPECT_EQ(left.text, (ButtonBox{40, 14, 40, 12}));
    const ButtonPlacement above = placeContent(area, 16, 16, 40, 12, Above);
    EXPECT_LT(above.picture.top + above.picture.height, above.text.top);
    const ButtonPlacement alone = placeContent(area, 0, 0, 40, 12, RightOf);
    EXPECT_EQ(alone.text, (ButtonBox{30, 14, 40, 12}));
    EXPECT_EQ(contentSize(16, 16, 40, 12, Behind).width, 40);
}

TEST(ButtonFrame, OnlyALowerCaseMailtoGoesToTheMailProgram) {
    EXPECT_EQ(linkAction("mailto:a@b.org"), LinkAction::Mail);
    EXPECT_EQ(linkAction("MAILTO:a@b.org"), LinkAction::Navigate);
    EXPECT_EQ(linkAction("http://example.org"), LinkAction::Navigate);
    EXPECT_EQ(linkAction(""), LinkAction::None);
}
