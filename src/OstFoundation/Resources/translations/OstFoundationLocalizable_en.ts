<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="share_view_title">
        <source>Share to</source>
        <translation>Share to</translation>
    </message>
    <message id="share_view_copy_link">
        <source>Copy link</source>
        <translation>Copy link</translation>
    </message>
    <message id="share_view_more">
        <source>More</source>
        <translation>More</translation>
    </message>
    <message id="share_view_cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="share_platform_weibo">
        <source>Weibo</source>
        <translation>Weibo</translation>
    </message>
    <message id="share_platform_qq">
        <source>QQ</source>
        <translation>QQ</translation>
    </message>
    <message id="share_platform_qzone">
        <source>QZone</source>
        <translation>QZone</translation>
    </message>
    <message id="share_platform_mail">
        <source>Mail</source>
        <translation>Mail</translation>
    </message>
    <message id="share_platform_douban">
        <source>Douban</source>
        <translation>Douban</translation>
    </message>
    <message id="share_platform_twitter">
        <source>Twitter</source>
        <translation>Twitter</translation>
    </message>
    <message id="share_platform_save_image">
        <source>Save image</source>
        <translation>Save image</translation>
    </message>
    <message id="share_platform_copy_image">
        <source>Copy image</source>
        <translation>Copy image</translation>
    </message>
    <message id="system_share_title">
        <source>Share link</source>
        <translation>Share link</translation>
    </message>
    <message id="system_share_copy">
        <source>Copy link</source>
        <translation>Copy link</translation>
    </message>
    <message id="system_share_mail">
        <source>Email</source>
        <translation>Email</translation>
    </message>
    <message id="system_share_browser">
        <source>Browser</source>
        <translation>Browser</translation>
    </message>
    <message id="navigation_back">
        <source>Back</source>
        <translation>Back</translation>
    </message>
</context>
</TS>
