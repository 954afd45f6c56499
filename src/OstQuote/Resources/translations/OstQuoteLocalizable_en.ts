<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="quote_press_to_view">
        <extracomment>每日一句</extracomment>
        <source>Quotes</source>
        <translation>Quotes</translation>
    </message>
    <message id="home_item_quote_share_topic">
        <source>#Quote of the Day#</source>
        <translation>#Quote of the Day#</translation>
    </message>
    <message id="share_view_copy_link_copied">
        <source>Link copied</source>
        <translation>Link copied</translation>
    </message>
    <message id="share_view_copy_text_copied">
        <source>Text copied</source>
        <translation>Text copied</translation>
    </message>
    <message id="share_success">
        <extracomment>分享成功</extracomment>
        <source>Shared</source>
        <translation>Shared</translation>
    </message>
    <message id="quote_viewer_back">
        <extracomment>The viewer's back button, for screen readers</extracomment>
        <source>Back</source>
        <translation>Back</translation>
    </message>
    <message id="quote_viewer_share">
        <extracomment>The viewer's share button, for screen readers</extracomment>
        <source>Share</source>
        <translation>Share</translation>
    </message>
</context>
</TS>
