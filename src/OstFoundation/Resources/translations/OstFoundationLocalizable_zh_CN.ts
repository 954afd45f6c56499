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
    <message id="share_view_copy_text">
        <source>Copy text</source>
        <translation>复制文字</translation>
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
    <message id="share_result_shared">
        <source>Shared</source>
        <translation>分享成功</translation>
    </message>
    <message id="share_result_page_opened">
        <source>Opened the %1 share page in your browser</source>
        <translation>已在浏览器中打开%1分享页面</translation>
    </message>
    <message id="share_result_page_failed">
        <source>Could not open the %1 share page</source>
        <translation>无法打开%1分享页面</translation>
    </message>
    <message id="share_result_draft_opened">
        <source>Opened a mail draft</source>
        <translation>已打开邮件草稿</translation>
    </message>
    <message id="share_result_draft_failed">
        <source>Could not open a mail draft</source>
        <translation>无法打开邮件草稿</translation>
    </message>
    <message id="share_result_image_saved">
        <source>Image saved to %1</source>
        <translation>图片已保存到 %1</translation>
    </message>
    <message id="share_result_save_failed">
        <source>Could not save the image to %1</source>
        <translation>无法将图片保存到 %1</translation>
    </message>
    <message id="share_result_save_failed_nowhere">
        <source>Could not save the image</source>
        <translation>无法保存图片</translation>
    </message>
    <message id="share_result_image_copied">
        <source>Image copied</source>
        <translation>图片已复制</translation>
    </message>
    <message id="share_result_copy_image_failed">
        <source>Could not copy the image</source>
        <translation>无法复制图片</translation>
    </message>
    <message id="share_result_link_copied">
        <source>Link copied</source>
        <translation>链接已复制</translation>
    </message>
    <message id="share_result_copy_link_failed">
        <source>Could not copy the link</source>
        <translation>无法复制链接</translation>
    </message>
    <message id="share_result_link_opened">
        <source>Opened the link in your browser</source>
        <translation>已在浏览器中打开链接</translation>
    </message>
    <message id="share_result_browser_failed">
        <source>Could not open the browser</source>
        <translation>无法打开浏览器</translation>
    </message>
    <message id="share_result_failed">
        <source>Could not share</source>
        <translation>分享失败</translation>
    </message>
</context>
</TS>
