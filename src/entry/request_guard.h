// Whether a request comes from the appliance's own pages. A browser sends the administrator's
// password along with whatever a stranger's page makes it send, so a request that acts must not
// have been started by one.
#pragma once

#include <string_view>

// True when `url` begins with http:// or https:// and names the host and port of `host`, the
// request's Host header. Case is ignored; a port left out is that of the URL's scheme.
bool names_host(std::string_view url, std::string_view host);

// False when the headers of the request (CGI variables, RFC 3875) show that another site has
// started it, or when a browser follows a link and they do not show that none has. Programs that
// send no such headers are trusted: nobody can make them send a request.
bool comes_from_own_page();

// Answers with status 403 and a page that says why.
void refuse_request();
