// What the server tells, as server-sent events. Read with fetch, which can show the token; an EventSource cannot.

export class Feed {
  /**
   * @param query    which controller; '' for all
   * @param token    a function
   * @param heard    is called with the name and the value of each event
   * @param changed  is called with '' when the line stands, 'token' when the token is wrong, and otherwise the reason
   */
  constructor(query, token, heard, changed) {
    Object.assign(this, {query, token, heard, changed, ended: false});
    this.run();
  }

  close() {
    this.ended = true;
    this.abort?.abort();
  }

  async run() {
    while (!this.ended) {
      try {
        await this.listen();
        if (!this.ended) this.changed('kyt view has ended the connection');
      } catch (error) {
        if (!this.ended) this.changed(error.message === 'token' ? 'token' : 'kyt view does not answer');
        if (error.message === 'token') return;
      }
      await new Promise((resolve) => setTimeout(resolve, 1000));
    }
  }

  // The server tells something every second at least: silence is a line that has been lost.
  async listen() {
    this.abort = new AbortController();
    let silence = 0;
    const heard = () => {
      clearTimeout(silence);
      silence = setTimeout(() => this.abort.abort(), 5000);
    };
    heard();
    try {
      const token = this.token();
      const headers = token ? {Authorization: 'Bearer ' + token} : {};
      const answer = await fetch('feed' + this.query, {headers, signal: this.abort.signal, cache: 'no-store'});
      if (answer.status === 401) throw new Error('token');
      if (!answer.ok) throw new Error(answer.statusText);
      this.changed('');
      const reader = answer.body.pipeThrough(new TextDecoderStream()).getReader();
      let text = '';
      for (;;) {
        const {value, done} = await reader.read();
        if (done) return;
        heard();
        text += value;
        const events = text.split('\n\n');
        text = events.pop();
        for (const event of events) {
          const [, name, data] = event.match(/^event: (.*)\ndata: (.*)$/) ?? [];
          if (name && !this.ended) this.heard(name, JSON.parse(data));
        }
      }
    } finally {
      clearTimeout(silence);
    }
  }
}
