#include "HttpRequest.h"

#include <boost/beast/core/string.hpp>

#include <algorithm>

namespace Http {

bool isValidHost(std::string_view host)
{
    static constexpr std::string_view allowed = "-._~%!$&'()*+,;=:[]";
    return std::all_of(host.begin(), host.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')
               || allowed.find(c) != std::string_view::npos;
    });
}

std::optional<std::string_view> targetPath(std::string_view target)
{
    if (target.empty() || target.front() != '/') {
        const std::size_t schemeEnd = target.find("://");
        if (schemeEnd == std::string_view::npos)
            return std::nullopt;
        const std::string_view scheme = target.substr(0, schemeEnd);
        if (!boost::beast::iequals(scheme, "http") && !boost::beast::iequals(scheme, "https"))
            return std::nullopt;
        target.remove_prefix(schemeEnd + 3);
        const std::size_t authorityEnd = std::min(target.find_first_of("/?#"), target.size());
        const std::string_view authority = target.substr(0, authorityEnd);
        if (authority.empty() || authority.front() == ':' || !isValidHost(authority))
            return std::nullopt;   // an http URL needs a host
        target.remove_prefix(authorityEnd);
        if (target.empty() || target.front() != '/')
            return std::string_view("/");   // http://host and http://host?query name the root
    }
    return target.substr(0, target.find('?'));
}

} // namespace Http
