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
    <message id="share_view_copy_text">
        <source>Copy text</source>
        <translation>Copy text</translation>
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
    <message id="share_result_shared">
        <source>Shared</source>
        <translation>Shared</translation>
    </message>
    <message id="share_result_page_opened">
        <source>Opened the %1 share page in your browser</source>
        <translation>Opened the %1 share page in your browser</translation>
    </message>
    <message id="share_result_page_failed">
        <source>Could not open the %1 share page</source>
        <translation>Could not open the %1 share page</translation>
    </message>
    <message id="share_result_draft_opened">
        <source>Opened a mail draft</source>
        <translation>Opened a mail draft</translation>
    </message>
    <message id="share_result_draft_failed">
        <source>Could not open a mail draft</source>
        <translation>Could not open a mail draft</translation>
    </message>
    <message id="share_result_image_saved">
        <source>Image saved to %1</source>
        <translation>Image saved to %1</translation>
    </message>
    <message id="share_result_save_failed">
        <source>Could not save the image to %1</source>
        <translation>Could not save the image to %1</translation>
    </message>
    <message id="share_result_save_failed_nowhere">
        <source>Could not save the image</source>
        <translation>Could not save the image</translation>
    </message>
    <message id="share_result_image_copied">
        <source>Image copied</source>
        <translation>Image copied</translation>
    </message>
    <message id="share_result_copy_image_failed">
        <source>Could not copy the image</source>
        <translation>Could not copy the image</translation>
    </message>
    <message id="share_result_link_copied">
        <source>Link copied</source>
        <translation>Link copied</translation>
    </message>
    <message id="share_result_copy_link_failed">
        <source>Could not copy the link</source>
        <translation>Could not copy the link</translation>
    </message>
    <message id="share_result_link_opened">
        <source>Opened the link in your browser</source>
        <translation>Opened the link in your browser</translation>
    </message>
    <message id="share_result_browser_failed">
        <source>Could not open the browser</source>
        <translation>Could not open the browser</translation>
    </message>
    <message id="share_result_failed">
        <source>Could not share</source>
        <translation>Could not share</translation>
    </message>
</context>
</TS>
