// Whether a request comes from the appliance's own pages. A browser sends the administrator's
// password along with whatever a stranger's page makes it send, so a request that acts must not
// have been started by one.
#pragma once

#include <string_view>

// True when `url` begins with http:// or https:// and names the host and port of `host`, the
// request's Host header. Case is ignored; a port left out is that of the URL's scheme.
bool names_host(std::string_view url, std::string_view host);

// False when the headers of the request (CGI variables, RFC 3875) show that another site has
// started it, or when a browser follows a link and they do not show that none has. Over TLS a site
// without it is another one. Programs that send no such headers are trusted: nobody can make them
// send a request.
bool comes_from_own_page();

// True for a form in a body that does not come from an own page. Only a body that has been read
// tells whether it acts, but no other site has reason to send one, not even for a view.
bool is_foreign_post();

// Answers with status 403 and a page that says why; 0, the program's exit status.
int refuse_request();
