/// Shown in place of the page where it cannot work.
export function UnableView({ title, text }: { readonly title: string; readonly text: string }) {
  return (
    <main class="page">
      <section class="welcome">
        <img src="/icon.svg" alt="" width="88" height="88" />
        <h1>{title}</h1>
        <p>{text}</p>
      </section>
    </main>
  );
}
