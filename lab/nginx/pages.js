// The pages of the lab that compute their answer.
import fs from 'fs';

const crypto = require('crypto');

const TEXT = 'The quick answer of the lab.\n';
const FOREVER_MS = 24 * 3600 * 1000;

function number(r, name, otherwise) {
    const value = Number(r.args[name]);
    return isNaN(value) ? otherwise : value;
}

function lastElement(r) {
    return r.uri.slice(r.uri.lastIndexOf('/') + 1);
}

function sha256(data) {
    return crypto.createHash('sha256').update(data).digest('hex');
}

function body(r) {
    // An empty body has a buffer of its own here: that of a POST with Content-Length 0 can't be read.
    return r.headersIn['Content-Length'] === '0' || r.requestBuffer === undefined ? Buffer.from('')
                                                                                  : r.requestBuffer;
}

function text(r) {
    r.return(200, TEXT);
}

// Everything of the request, as a client's test wants to see it on the wire.
function echo(r) {
    const data = body(r);
    r.headersOut['Content-Type'] = 'application/json';
    r.return(200, JSON.stringify({
        method: r.method,
        uri: r.variables.request_uri,
        version: r.httpVersion,
        host: r.headersIn.Host,
        headers: r.rawHeadersIn,
        length: data.length,
        sha256: sha256(data),
        body: data.length > 65536 ? '' : data.toString('utf8'),
    }) + '\n');
}

function upload(r) {
    const data = body(r);
    r.return(r.method === 'PUT' ? 201 : 200, data.length + ' ' + sha256(data) + '\n');
}

function status(r) {
    const code = Number(lastElement(r));
    if (!(code >= 200 && code <= 599)) {
        r.return(400, 'Not a status\n');
        return;
    }
    if (code === 401) {
        r.headersOut['WWW-Authenticate'] = 'Basic realm="lab"';
    } else if (code === 407) {
        r.headersOut['Proxy-Authenticate'] = 'Basic realm="lab"';
    } else if (code === 503) {
        r.headersOut['Retry-After'] = '1';
    }
    r.return(code, code === 204 || code === 304 ? '' : 'Status ' + code + '\n');
}

// ?bytes=N: an answer with one header of N bytes, X-Lab-Long.
function header(r) {
    r.headersOut['X-Lab-Long'] = 'x'.repeat(number(r, 'bytes', 1));
    r.return(200, TEXT);
}

// /flaky/KEY?times=N: 503 to the first N requests with this KEY, then the text. Each test has a KEY of its own.
function flaky(r) {
    const file = process.env.ZEB_LAB_STATE + '/flaky-' + encodeURIComponent(lastElement(r));
    fs.appendFileSync(file, '.');
    if (fs.readFileSync(file).length <= number(r, 'times', 1)) {
        r.return(503, 'Status 503\n');
    } else {
        r.return(200, TEXT);
    }
}

function redirectTo(r, code, target) {
    if ([301, 302, 303, 307, 308].indexOf(code) >= 0) {
        r.return(code, target);
    } else {
        r.headersOut.Location = target;
        r.return(code, 'Status ' + code + '\n');
    }
}

// ?code=302&to=URL
function redirect(r) {
    redirectTo(r, number(r, 'code', 302), r.args.to || '/text');
}

// /chain/N?code=302&host=NAME: N redirects, then the text; with a host each step changes between it and this one.
function chain(r) {
    const left = Number(lastElement(r));
    if (!(left > 0)) {
        text(r);
        return;
    }
    const code = number(r, 'code', 302);
    let target = '/chain/' + (left - 1) + '?code=' + code;
    if (r.args.host) {
        target = r.variables.scheme + '://' + r.args.host + target + '&host=' + r.variables.host;
    }
    redirectTo(r, code, target);
}

function bearer(r) {
    if (r.headersIn.Authorization === 'Bearer wonderland') {
        text(r);
        return;
    }
    r.headersOut['WWW-Authenticate'] = 'Bearer realm="lab"';
    r.return(401, 'Status 401\n');
}

function setCookies(r) {
    r.headersOut['Set-Cookie'] = [
        'session=1; Path=/',
        'httponly=2; Path=/; HttpOnly',
        'secure=3; Path=/; Secure',
        'tail=4; Path=/; Domain=lab.test',
        'novalue=; Path=/',
        'maxage=6; Path=/; Max-Age=3600',
        'future=7; Path=/; Expires=Thu, 01 Jan 2099 00:00:00 GMT',
        'past=8; Path=/; Expires=Thu, 01 Jan 1998 00:00:00 GMT',
        'gone=9; Path=/; Max-Age=0',
        'deep=10; Path=/cookies',
        'foreign=11; Path=/; Domain=elsewhere.test',
    ];
    r.return(200, TEXT);
}

function getCookies(r) {
    r.return(200, (r.headersIn.Cookie || '') + '\n');
}

// ?ms=N: the head comes after N milliseconds; without N it never comes.
function slowHead(r) {
    setTimeout(() => text(r), number(r, 'ms', FOREVER_MS));
}

// ?pieces=N&ms=M: N lines, M milliseconds before each but the first.
function slowBody(r) {
    const pieces = number(r, 'pieces', 5);
    const pause = number(r, 'ms', 100);
    let sent = 0;
    function next() {
        sent += 1;
        r.send('piece ' + sent + '\n');
        if (sent < pieces) {
            setTimeout(next, pause);
        } else {
            r.finish();
        }
    }
    r.status = 200;
    r.sendHeader();
    next();
}

// The head promises 1000 bytes; five come, then the connection ends.
function shortBody(r) {
    r.status = 200;
    r.headersOut['Content-Length'] = '1000';
    r.sendHeader();
    r.send('short');
    r.finish();
}

export default {text, echo, upload, status, header, flaky, redirect, chain, bearer, setCookies, getCookies,
                slowHead, slowBody, shortBody};
