// A server below HTTP: reads a request's head, answers by its path with the bytes given here, and closes.
const ANSWERS = {
    '/nothing': '',
    '/garbage': 'this is no HTTP at all\r\n\r\n',
    '/half-head': 'HTTP/1.1 200 OK\r\nContent-Ty',
    '/half-status': 'HTTP/1.1 2',
    '/odd-status': 'HTTP/1.1 abc Strange\r\nContent-Length: 0\r\n\r\n',
    '/odd-length': 'HTTP/1.1 200 OK\r\nContent-Length: many\r\n\r\nbody',
    '/negative-length': 'HTTP/1.1 200 OK\r\nContent-Length: -5\r\n\r\nbody',
    '/bad-chunk': 'HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nxyz\r\nbody\r\n0\r\n\r\n',
    '/half-chunk': 'HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n64\r\nbody',
    '/until-close': 'HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nto the end\n',
    '/http10': 'HTTP/1.0 200 OK\r\n\r\nold\n',
    '/bare-lf': 'HTTP/1.1 200 OK\nContent-Length: 5\n\nbare\n',
    '/no-reason': 'HTTP/1.1 200\r\nContent-Length: 3\r\n\r\nok\n',
    '/folded': 'HTTP/1.1 200 OK\r\nX-Lab: one\r\n two\r\nContent-Length: 3\r\n\r\nok\n',
    '/no-location': 'HTTP/1.1 302 Found\r\nContent-Length: 0\r\n\r\n',
    '/bad-gzip': 'HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 4\r\n\r\nbody',
};

let request = '';

function readHead(s) {
    request = '';
    s.on('upload', (data, flags) => {
        request = data;
        if (request.indexOf('\r\n\r\n') >= 0 || flags.last) {
            s.off('upload');
            s.done();
        }
    });
}

function answer() {
    const path = (request.split(' ')[1] || '').split('?')[0];
    const known = ANSWERS[path];
    return known === undefined
        ? 'HTTP/1.1 404 Not Found\r\nContent-Length: 11\r\nConnection: close\r\n\r\nStatus 404\n'
        : known;
}

export default {readHead, answer};
