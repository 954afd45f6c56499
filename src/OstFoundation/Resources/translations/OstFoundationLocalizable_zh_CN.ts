<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN">
<context>
    <name></name>
    <message id="share_view_title">
        <source>Share to</source>
        <translation>分享到</translation>
    </message>
    <message id="share_view_copy_link">
        <source>Copy link</source>
        <translation>复制链接</translation>
    </message>
    <message id="share_view_more">
        <source>More</source>
        <translation>更多</translation>
    </message>
    <message id="share_view_cancel">
        <source>Cancel</source>
        <translation>取消</translation>
    </message>
    <message id="share_platform_weibo">
        <source>Weibo</source>
        <translation>微博</translation>
    </message>
    <message id="share_platform_qq">
        <source>QQ</source>
        <translation>QQ</translation>
    </message>
    <message id="share_platform_qzone">
        <source>QZone</source>
        <translation>QQ空间</translation>
    </message>
    <message id="share_platform_mail">
        <source>Mail</source>
        <translation>邮件</translation>
    </message>
    <message id="share_platform_douban">
        <source>Douban</source>
        <translation>豆瓣</translation>
    </message>
    <message id="share_platform_twitter">
        <source>Twitter</source>
        <translation>Twitter</translation>
    </message>
    <message id="share_platform_save_image">
        <source>Save image</source>
        <translation>保存图片</translation>
    </message>
    <message id="share_platform_copy_image">
        <source>Copy image</source>
        <translation>复制图片</translation>
    </message>
    <message id="system_share_title">
        <source>Share link</source>
        <translation>分享链接</translation>
    </message>
    <message id="system_share_copy">
        <source>Copy link</source>
        <translation>复制链接</translation>
    </message>
    <message id="system_share_mail">
        <source>Email</source>
        <translation>电子邮件</translation>
    </message>
    <message id="system_share_browser">
        <source>Browser</source>
        <translation>浏览器打开</translation>
    </message>
    <message id="navigation_back">
        <source>Back</source>
        <translation>返回</translation>
    </message>
</context>
</TS>
